// zelknx: the library's KNX conversions, DPT table, object-model ids and app
// host configuration on the command line, for integrators with the KNX
// standard's DPT names, ETS group address exports, knxd's monitor logs and
// a live group monitor on knxd. A thin shell: every value comes from the
// library; this file only reads the command line.
//
// Exit status: 0 success, 1 the library refused (its log line on stderr
// says why) or knxd is out of reach, 2 usage error.
#include "Commands.h"

#include "Zel/AppHostConfig.h"
#include "ZelLog/Logging.h"

#include <CLI/CLI.hpp>
#include <log4cplus/loglevel.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <string>

namespace {

using Zelknx::Json;

const char kValues[] =
    "DPT: 9.001, 9.1, 9, DPST-9-1, DPT-9 or DPT_Value_Temp; with --code a numeric code\n"
    "(main * 65536 + sub); with --ga-csv a group address of the list (1/2/3).\n"
    "VALUE: true/false/1/0, 42, 0x2a, 21.5, nan, inf, a string, [Mon] 08:30:00, 2024-03-15,\n"
    "\"2024-03-15 08:30:00\", - (no value). A value that starts with '-' and is not a number\n"
    "(-inf) follows --.\n";

const char kFooter[] =
    "Exit status: 0 success, 1 the library refused (or knxd is out of reach), 2 usage error.";

struct Command {
  const char* name;
  const char* summary;
  std::string details;
  std::function<int(const Zelknx::Session&)> run;
};

// Parses the command line into `options`; the command to run, or
// null when --help or --version was answered.
CLI::App* Parse(CLI::App& app, int argc, char** argv, Zelknx::Options& options) {
  // "--" ends the options: what follows are the command's arguments as
  // they are (CLI11 alone would take some of them for options).
  int end = 1;
  while (end < argc && std::string(argv[end]) != "--")
    ++end;
  try {
    app.parse(end, argv);
  } catch (const CLI::Success& answered) {
    app.exit(answered);  // --help, --version: on stdout
    return nullptr;
  } catch (const CLI::ParseError& error) {
    throw Zelknx::UsageError{error.what()};
  }
  const auto chosen = app.get_subcommands();
  const std::vector<std::string> extra = app.remaining();
  if (!extra.empty() && extra.front().size() > 1 && extra.front()[0] == '-') {
    throw Zelknx::UsageError{"unknown option " + extra.front()};
  }
  if (chosen.empty()) {
    throw Zelknx::UsageError{extra.empty() ? "no command"
                                           : "unknown command '" + extra.front() + "'"};
  }
  if (!extra.empty())
    throw Zelknx::UsageError{"unexpected argument '" + extra.front() + "'"};
  for (int i = end + 1; i < argc; ++i)
    options.args.emplace_back(argv[i]);
  return chosen.front();
}

}  // namespace

int main(int argc, char** argv) {
  Zelknx::InstallLastErrorLog();
  Zelknx::Session session;
  Zelknx::Options& options = session.options;

  CLI::App app{
      "zelknx: KNX values, the DPT table, object-model ids and the app host configuration, from "
      "the "
      "library; ETS group addresses, knxd logs and a live group monitor for integrators.",
      "zelknx"};
  app.set_version_flag("--version", std::string("zelknx ") + ZELKNX_VERSION);
  app.footer(kFooter);
  app.get_formatter()->label("Usage", "usage");
  app.allow_extras();
  app.fallthrough();
  // Options of every command, before or after it.
  app.add_flag("--json", options.json, "one JSON object per result, on one line");
  std::string logLevel;
  app.add_option(
      "--log-level", logLevel,
      "library log level on stderr: TRACE DEBUG INFO WARN ERROR FATAL OFF (default ERROR)");
  app.add_option("--ga-csv", options.gaCsv,
                 "ETS group address export (CSV): group addresses stand for their DPT");
  app.add_flag("--code", options.code, "DPTs are numeric codes (main * 65536 + sub)");

  const std::vector<Command> commands = {
      {"encode", "the payload of VALUE for DPT, in hex, and its size in bits",
       std::string("zelknx encode [--table] DPT VALUE\n") + kValues, Zelknx::Encode},
      {"decode", "the value of the payload HEX for DPT; with - lines from stdin",
       "zelknx decode [--table] [--bits N] DPT HEX\n"
       "zelknx decode [--ga-csv FILE] -\n"
       "HEX: 0c33, \"0c 33\" or 0c:33. The value is printed with the DPT's unit.\n"
       "With -, each line of stdin is one of: DPT HEX; GA HEX; a line of knxtool\n"
       "groupsocketlisten (Write from 1.1.5 to 1/2/3: 0C 33) or vbusmonitor1 (L_Busmon: ...).\n"
       "One result per line (blank lines give none); exit status 1 if a line failed.",
       Zelknx::Decode},
      {"dpt", "the DPT table, or its row for DPT, with the standard's name and unit",
       "zelknx dpt [DPT]\n"
       "Bit size, value type, subtype, converter, object-model value type and default value of\n"
       "the main number, range, name and unit.",
       Zelknx::Dpt},
      {"id", "object-model ids of a communication object, a parameter or a logical device",
       "zelknx id co NUMBER [LD] | id param ip|number|text NUMBER [LD] | id ld [LD] | id ID\n"
       "LD 1 or 2 (default 1); id ID says what the object-model id ID is.",
       Zelknx::Id},
      {"config", "loads the app host configuration and prints every option",
       std::string("zelknx config [FILE]\nDefault FILE: ") + Zel::kAppHostConfigFilePath,
       Zelknx::Config},
#ifdef ZELKNX_WITH_KNXD
      {"monitor", "prints every group telegram that knxd sees",
       "zelknx monitor [--url URL] [--ga-csv FILE] [--count N] [--table]\n"
       "One line per telegram: time, source, group address, its name and DPT from --ga-csv, and\n"
       "the value with its unit (raw octets without a DPT). Ends after N telegrams or on\n"
       "SIGINT/SIGTERM (exit status 0); knxd out of reach or gone: exit status 1.",
       Zelknx::Monitor},
#endif
  };
  for (const Command& command : commands) {
    CLI::App* sub = app.add_subcommand(command.name, command.summary);
    sub->footer(command.details + "\n" + kFooter);
    sub->allow_extras();
    sub->add_option("args", options.args, "arguments")->take_all();
    const std::string name = command.name;
    if (name == "encode" || name == "decode" || name == "monitor") {
      sub->add_flag("--table", options.table,
                    "convert with the DPT table (KnxValueConverter), not by DPT code");
    }
    if (name == "decode") {
      sub->add_option(
          "--bits", options.bits,
          "the group value's size in bits (default: 6 for one octet of a DPT of at most 6 bits, "
          "else 8 per octet)");
    }
    if (name == "monitor") {
      sub->add_option("--url", options.url,
                      "knxd's URL: local:/run/knx (default) or ip:HOST[:PORT]");
      sub->add_option("--count", options.count, "end after N telegrams");
    }
  }

  // The commands' own options are taken before the command as well (not
  // listed in the general help); a command that has no such option
  // refuses it below.
  const std::vector<std::pair<const char*, std::vector<std::string>>> commandOptions = {
      {"--table", {"encode", "decode", "monitor"}},
      {"--bits", {"decode"}},
      {"--url", {"monitor"}},
      {"--count", {"monitor"}},
  };
  app.add_flag("--table", options.table)->group("");
  app.add_option("--bits", options.bits)->group("");
  app.add_option("--url", options.url)->group("");
  app.add_option("--count", options.count)->group("");

  const bool wantsJson = [&] {
    for (int i = 1; i < argc && std::string(argv[i]) != "--"; ++i) {
      if (std::string(argv[i]) == "--json")
        return true;
    }
    return false;
  }();
  try {
    CLI::App* chosen = Parse(app, argc, argv, options);
    if (chosen == nullptr)
      return 0;
    for (const auto& option : commandOptions) {
      const auto& owners = option.second;
      if (app.get_option(option.first)->count() > 0 &&
          std::find(owners.begin(), owners.end(), chosen->get_name()) == owners.end()) {
        throw Zelknx::UsageError{"unknown option " + std::string(option.first) + " for " +
                                 chosen->get_name()};
      }
    }
    if (!logLevel.empty()) {
      const auto level = log4cplus::getLogLevelManager().fromString(logLevel);
      if (level == log4cplus::NOT_SET_LOG_LEVEL)
        throw Zelknx::UsageError{"bad log level '" + logLevel + "'"};
      Zel::GetGlobalDefaultLogger().setLogLevel(level);
    }
    if (!options.gaCsv.empty()) {
      try {
        session.groups = Zelknx::GroupAddressTable::Load(options.gaCsv);
      } catch (const Zelknx::GroupAddressCsvError& error) {
        throw Zelknx::UsageError{error.what()};
      }
    }
    Zelknx::ResetLastError();
    for (const Command& command : commands) {
      if (chosen->get_name() == command.name)
        return command.run(session);
    }
    return 2;
  } catch (const Zelknx::UsageError& error) {
    if (wantsJson)
      std::cout << Zelknx::DumpJson(Json{{"error", error.message}}) << '\n';
    std::cerr << "zelknx: " << error.message << "\n(zelknx --help, zelknx COMMAND --help)\n";
    return 2;
  } catch (const Zelknx::Refusal& refusal) {
    if (wantsJson) {
      std::cout << Zelknx::DumpJson(Json{{"error", refusal.message}}) << '\n';
    } else if (!refusal.logged) {
      std::cerr << "zelknx: refused: " << refusal.message << "\n";
    }
    return 1;
  } catch (const Zelknx::Unreachable& failure) {
    if (wantsJson)
      std::cout << Zelknx::DumpJson(Json{{"error", failure.message}}) << '\n';
    std::cerr << "zelknx: " << failure.message << "\n";
    return 1;
  }
}
