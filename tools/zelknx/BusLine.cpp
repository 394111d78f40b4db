#include "BusLine.h"

#include "DptNames.h"
#include "Frame.h"
#include "ValueText.h"

#include <array>
#include <cstring>
#include <string_view>

namespace Zelknx {
namespace {

using Text = std::string_view;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

int HexDigit(char c) {
  if (IsDigit(c))
    return c - '0';
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  if (c >= 'A' && c <= 'F')
    return c - 'A' + 10;
  return -1;
}

bool IsAlnum(char c) {
  return HexDigit(c) >= 0 || (c >= 'g' && c <= 'z') || (c >= 'G' && c <= 'Z') || c == '_';
}

// Blanks include the NUL bytes that some captures carry.
bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\0';
}

Text Trim(Text text) {
  std::size_t begin = 0, end = text.size();
  while (begin < end && IsBlank(text[begin]))
    ++begin;
  while (end > begin && IsBlank(text[end - 1]))
    --end;
  return text.substr(begin, end - begin);
}

// `count` digits at `at`.
bool Digits(Text text, std::size_t at, std::size_t count) {
  if (at + count > text.size())
    return false;
  for (std::size_t i = at; i < at + count; ++i) {
    if (!IsDigit(text[i]))
      return false;
  }
  return true;
}

std::size_t SkipDigits(Text text, std::size_t at) {
  while (at < text.size() && IsDigit(text[at]))
    ++at;
  return at;
}

std::size_t SkipSpaces(Text text, std::size_t at) {
  while (at < text.size() && text[at] == ' ')
    ++at;
  return at;
}

// HH:MM:SS at `at`, with a fraction after '.' or ','; its end, or 0.
std::size_t TimeOfDay(Text text, std::size_t at) {
  if (!Digits(text, at, 2) || !Digits(text, at + 3, 2) || !Digits(text, at + 6, 2) ||
      text[at + 2] != ':' || text[at + 5] != ':') {
    return 0;
  }
  std::size_t end = at + 8;
  if (end + 1 < text.size() && (text[end] == '.' || text[end] == ',') && IsDigit(text[end + 1]))
    end = SkipDigits(text, end + 1);
  return end;
}

// 2024-03-15 08:30:00.123 (or with 'T', or 2024/03/15), with a zone Z,
// +01:00 or +0100: written as 2024-03-15T08:30:00.123+01:00.
std::size_t IsoTime(Text text, std::size_t at, std::string& time) {
  if (text.size() < at + 19)
    return 0;
  const char separator = text[at + 4];
  if (!Digits(text, at, 4) || (separator != '-' && separator != '/') || !Digits(text, at + 5, 2) ||
      text[at + 7] != separator || !Digits(text, at + 8, 2) ||
      (text[at + 10] != ' ' && text[at + 10] != 'T')) {
    return 0;
  }
  std::size_t end = TimeOfDay(text, at + 11);
  if (end == 0)
    return 0;
  time.assign(text.data() + at, end - at);
  time[4] = time[7] = '-';
  time[10] = 'T';
  if (time.size() > 19)
    time[19] = '.';
  if (end < text.size() && text[end] == 'Z') {
    time += 'Z';
    ++end;
  } else if (end < text.size() && (text[end] == '+' || text[end] == '-') &&
             Digits(text, end + 1, 2)) {
    const bool colon = end + 3 < text.size() && text[end + 3] == ':';
    const std::size_t minutes = end + (colon ? 4 : 3);
    if (Digits(text, minutes, 2)) {
      time.append(text.data() + end, 3);
      time += ':';
      time.append(text.data() + minutes, 2);
      end = minutes + 2;
    }
  }
  return end;
}

constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<const char*, 7> kWeekdays = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};

template <std::size_t N>
int NameIndex(Text text, std::size_t at, const std::array<const char*, N>& names) {
  for (std::size_t i = 0; i < N; ++i) {
    if (text.compare(at, 3, names[i]) == 0 && (at + 3 == text.size() || text[at + 3] == ' '))
      return static_cast<int>(i);
  }
  return -1;
}

// Mon Aug 31 23:56:48 2015 (the C library's form, in English): written as
// 2015-08-31T23:56:48.
std::size_t CTime(Text text, std::size_t at, std::string& time) {
  if (text.size() < at + 24 || NameIndex(text, at, kWeekdays) < 0)
    return 0;
  const int month = NameIndex(text, at + 4, kMonths);
  const std::size_t day = SkipSpaces(text, at + 8);
  const std::size_t dayEnd = SkipDigits(text, day);
  if (month < 0 || text[at + 7] != ' ' || dayEnd == day || dayEnd > day + 2 ||
      dayEnd >= text.size() || text[dayEnd] != ' ') {
    return 0;
  }
  const std::size_t clock = dayEnd + 1;
  const std::size_t clockEnd = TimeOfDay(text, clock);
  if (clockEnd == 0 || clockEnd >= text.size() || text[clockEnd] != ' ' ||
      !Digits(text, clockEnd + 1, 4)) {
    return 0;
  }
  time.assign(text.data() + clockEnd + 1, 4);
  time += '-';
  time += static_cast<char>('0' + (month + 1) / 10);
  time += static_cast<char>('0' + (month + 1) % 10);
  time += '-';
  if (dayEnd - day == 1)
    time += '0';
  time.append(text.data() + day, dayEnd - day);
  time += 'T';
  time.append(text.data() + clock, clockEnd - clock);
  return clockEnd + 5;
}

// Mar 15 08:30:00 as syslog writes it, a month name in any language (Mär,
// févr.), or a bare time of day: as written.
std::size_t WrittenTime(Text text, std::size_t at, std::string& time) {
  std::size_t end = TimeOfDay(text, at);
  if (end == 0) {
    std::size_t word = at;
    while (word < text.size() && word - at < 12 &&
           ((IsAlnum(text[word]) && !IsDigit(text[word])) ||
            static_cast<unsigned char>(text[word]) >= 0x80)) {
      ++word;
    }
    if (word < text.size() && text[word] == '.')
      ++word;
    const std::size_t day = SkipSpaces(text, word);
    const std::size_t dayEnd = SkipDigits(text, day);
    if (word - at < 2 || day == word || dayEnd == day || dayEnd > day + 2 ||
        dayEnd >= text.size() || text[dayEnd] != ' ') {
      return 0;
    }
    end = TimeOfDay(text, dayEnd + 1);
  }
  if (end != 0)
    time.assign(text.data() + at, end - at);
  return end;
}

// The time stamp at the start of `text` (after blanks, or in brackets);
// where it ends, or 0 for none.
std::size_t ReadTime(Text text, std::string& time) {
  std::size_t at = 0;
  while (at < text.size() && IsBlank(text[at]))
    ++at;
  if (at < text.size() && text[at] == '[')
    ++at;
  std::size_t end = IsoTime(text, at, time);
  if (end == 0)
    end = CTime(text, at, time);
  if (end == 0)
    end = WrittenTime(text, at, time);
  return end;
}

// "1.1.5": digits, '.', digits, '.', digits from `at`; its end, or 0.
std::size_t IndividualAddressShape(Text text, std::size_t at) {
  std::size_t end = at;
  for (int part = 0; part < 3; ++part) {
    if (part > 0) {
      if (end >= text.size() || text[end] != '.')
        return 0;
      ++end;
    }
    const std::size_t digits = SkipDigits(text, end);
    if (digits == end || digits - end > 5)
      return 0;
    end = digits;
  }
  return end;
}

bool ReadIndividualAddress(Text text, std::uint16_t& address) {
  unsigned long parts[3] = {};
  std::size_t at = 0;
  for (unsigned long& part : parts) {
    for (; at < text.size() && IsDigit(text[at]); ++at)
      part = part * 10 + static_cast<unsigned long>(text[at] - '0');
    ++at;  // the '.'
  }
  if (parts[0] > 15 || parts[1] > 15 || parts[2] > 255)
    return false;
  address = static_cast<std::uint16_t>(parts[0] << 12 | parts[1] << 8 | parts[2]);
  return true;
}

struct ApciWord {
  Text word;
  Apci apci;
};

constexpr std::array<ApciWord, 3> kApciWords = {{
    {"Write", Apci::Write},
    {"Response", Apci::Response},
    {"Read", Apci::Read},
}};

// The APCI word at `at` followed by a blank or the end.
const ApciWord* ReadApciWord(Text text, std::size_t at) {
  for (const ApciWord& word : kApciWords) {
    const std::size_t end = at + word.word.size();
    if (text.compare(at, word.word.size(), word.word) == 0 &&
        (end == text.size() || IsBlank(text[end]) || text[end] == ':')) {
      return &word;
    }
  }
  return nullptr;
}

void Fail(BusLine& bus, std::string error) {
  bus.kind = LineKind::Error;
  bus.error = std::move(error);
}

// The data of a write or response in `text`: hex octets.
void ReadData(Text text, BusLine& bus) {
  bus.kind = LineKind::Telegram;
  Telegram& telegram = bus.telegram;
  telegram.octets.clear();
  const Text data = Trim(text);
  if (telegram.apci == Apci::Read) {
    if (!data.empty())
      Fail(bus, "data after a read");
    return;
  }
  std::string error;
  auto octets = ParseHex(std::string(data), error);
  if (!octets)
    return Fail(bus, error);
  if (octets->empty())
    return Fail(bus, "no data");
  if (telegram.shortForm && octets->size() != 1)
    return Fail(bus, "more than one octet in the short form");
  telegram.octets = std::move(*octets);
}

// The telegram of the text forms: "WORD from SRC to DST: DATA" or
// "... from SRC to DST ... A_GroupValue_WORD [(small)] DATA". False when
// the line has neither.
bool ReadTextForm(Text line, BusLine& bus) {
  for (std::size_t from = line.find(" from "); from != Text::npos;
       from = line.find(" from ", from + 1)) {
    const std::size_t source = from + 6;
    const std::size_t sourceEnd = IndividualAddressShape(line, source);
    if (sourceEnd == 0 || line.compare(sourceEnd, 4, " to ") != 0)
      continue;
    const std::size_t destination = sourceEnd + 4;
    std::size_t destinationEnd = destination;
    while (destinationEnd < line.size() && !IsBlank(line[destinationEnd]) &&
           line[destinationEnd] != ':') {
      ++destinationEnd;
    }
    const Text destinationText = line.substr(destination, destinationEnd - destination);
    // groupsocketlisten: the word right before "from".
    std::size_t wordStart = from;
    while (wordStart > 0 && !IsBlank(line[wordStart - 1]))
      --wordStart;
    const ApciWord* word = ReadApciWord(line.substr(0, from), wordStart);
    std::size_t data = destinationEnd;
    if (word != nullptr) {
      if (data < line.size() && line[data] == ':')
        ++data;
      else if (word->apci != Apci::Read)
        data = line.size() + 1;  // no ':' before the data
    } else {
      const std::size_t service = line.find(" A_GroupValue_", destinationEnd);
      word = service == Text::npos ? nullptr : ReadApciWord(line, service + 14);
      if (word == nullptr)
        continue;  // another service (T_Connect ...), or other text
      data = SkipSpaces(line, service + 14 + word->word.size());
      bus.telegram.shortForm = line.compare(data, 7, "(small)") == 0;
      if (bus.telegram.shortForm)
        data += 7;
    }
    if (destinationText.find('/') == Text::npos) {
      bus.kind = LineKind::None;  // an individual destination
      return true;
    }
    Telegram& telegram = bus.telegram;
    telegram.apci = word->apci;
    std::uint16_t address = 0;
    if (!ReadIndividualAddress(line.substr(source, sourceEnd - source), address)) {
      Fail(bus,
           "bad source address '" + std::string(line.substr(source, sourceEnd - source)) + "'");
      return true;
    }
    telegram.source = address;
    const auto group = ParseGroupAddress(std::string(destinationText));
    if (!group) {
      Fail(bus, "bad group address '" + std::string(destinationText) + "'");
      return true;
    }
    telegram.destination = *group;
    if (data > line.size()) {
      Fail(bus, "no ':' before the data");
      return true;
    }
    ReadData(line.substr(data), bus);
    return true;
  }
  return false;
}

// The frame in a run of hex octets on the line: octets of two digits with
// blanks or colons between them, or an even number of digits in one word.
// False when no run of the line is a frame.
bool ReadFrames(Text line, BusLine& bus) {
  std::array<std::uint8_t, 600> octets;
  std::size_t count = 0;
  std::size_t at = 0;
  const auto endRun = [&]() {
    const FrameRead read = count >= 8 && count <= octets.size()
                               ? ReadFrame(octets.data(), count, bus.telegram, bus.error)
                               : FrameRead::NotAFrame;
    count = 0;
    switch (read) {
      case FrameRead::NotAFrame: return false;
      case FrameRead::NoGroupValue: bus.kind = LineKind::None; break;
      case FrameRead::Telegram: bus.kind = LineKind::Telegram; break;
      case FrameRead::Corrupt: bus.kind = LineKind::Error; break;
    }
    return true;
  };
  while (at < line.size()) {
    // A word: its end, and whether it is all hex digits.
    std::size_t end = at;
    while (end < line.size() && IsAlnum(line[end]))
      ++end;
    if (end == at) {
      const char c = line[at];
      if (!IsBlank(c) && c != ':' && count > 0 && endRun())
        return true;
      ++at;
      continue;
    }
    bool hex = (end - at) % 2 == 0;
    for (std::size_t i = at; hex && i < end; ++i)
      hex = HexDigit(line[i]) >= 0;
    if (!hex) {
      if (count > 0 && endRun())
        return true;
    } else {
      for (std::size_t i = at; i < end; i += 2) {
        if (count < octets.size())
          octets[count] = static_cast<std::uint8_t>(HexDigit(line[i]) << 4 | HexDigit(line[i + 1]));
        ++count;
      }
    }
    at = end;
  }
  return count > 0 && endRun();
}

// "DPT HEX" or "GA HEX" as the whole line.
void ReadPayload(Text line, BusLine& bus) {
  bus.kind = LineKind::None;
  std::size_t blank = 0;
  while (blank < line.size() && !IsBlank(line[blank]))
    ++blank;
  const std::string first(line.substr(0, blank));
  if (first.find('/') != std::string::npos &&
      first.find_first_not_of("0123456789/") == std::string::npos) {
    const auto group = ParseGroupAddress(first);
    if (!group)
      return Fail(bus, "bad group address '" + first + "'");
    bus.kind = LineKind::GroupPayload;
    bus.telegram.destination = *group;
  } else {
    bus.dpt = ParseDptSpelling(first);
    if (!bus.dpt)
      return;
    bus.kind = LineKind::DptPayload;
  }
  std::string error;
  auto octets = ParseHex(std::string(Trim(line.substr(blank))), error);
  if (!octets)
    return Fail(bus, error);
  if (octets->empty())
    return Fail(bus, "no data after '" + first + "'");
  bus.telegram.octets = std::move(*octets);
}

}  // namespace

void ReadBusLine(const std::string& text, BusLine& bus) {
  const Text line = Trim(text);
  bus.kind = LineKind::None;
  bus.dpt = boost::none;
  bus.error.clear();
  Telegram& telegram = bus.telegram;
  telegram.time.clear();
  telegram.source = boost::none;
  telegram.destination = 0;
  telegram.apci = Apci::Write;
  telegram.octets.clear();
  telegram.shortForm = false;
  const std::size_t timeEnd = ReadTime(line, telegram.time);
  const Text rest = line.substr(timeEnd);
  if (ReadTextForm(rest, bus) || ReadFrames(rest, bus))
    return;
  if (timeEnd == 0)
    ReadPayload(line, bus);
}

namespace {

LineResult Failure(std::size_t number, const std::string& error, Output output) {
  LineResult result;
  result.failed = true;
  if (output != Output::Text)
    result.json = Json{{"line", number}, {"error", error}};
  if (output != Output::Json)
    result.text = "line " + std::to_string(number) + ": error: " + error;
  return result;
}

// DPT HEX and GA HEX: the value alone, or with the group's address and name.
LineResult DecodePayload(const BusLine& bus, std::size_t number, const GroupAddressTable* groups,
                         const std::string& groupSource, bool table, Output output) {
  const std::uint16_t address = bus.telegram.destination;
  const GroupAddressEntry* group = nullptr;
  boost::optional<Zel::KNXDPT> dpt = bus.dpt;
  LineResult result;
  result.json["line"] = number;
  if (bus.kind == LineKind::GroupPayload) {
    group = groups != nullptr ? groups->Find(address) : nullptr;
    dpt = group != nullptr ? group->dpt : boost::none;
    if (!dpt) {
      return Failure(
          number,
          "no DPT for group address " + GroupAddressText(address) +
              (groups != nullptr ? " in " + groupSource : " (give the ETS export with --ga-csv)"),
          output);
    }
    result.json["dst"] = GroupAddressText(address);
    result.json["group"] = group != nullptr ? Json(group->name) : Json(nullptr);
    result.text = GroupAddressText(address) + (group != nullptr ? " " + group->name : "") + ": ";
  }
  try {
    const TAVVALUE value = DecodeOctets(table, *dpt, bus.telegram.octets, false);
    result.text += AddValue(result.json, *dpt, value);
  } catch (const Refusal& refusal) {
    return Failure(number, refusal.message, output);
  }
  if (output == Output::Json)
    result.text.clear();
  if (output == Output::Text)
    result.json = Json();
  return result;
}

}  // namespace

boost::optional<LineResult> DecodeLogLine(const std::string& line, std::size_t number,
                                          const GroupAddressTable* groups,
                                          const std::string& groupSource, bool table, Output output,
                                          BusLine& bus) {
  ReadBusLine(line, bus);
  switch (bus.kind) {
    case LineKind::None: return boost::none;
    case LineKind::Error: return Failure(number, bus.error, output);
    case LineKind::DptPayload:
    case LineKind::GroupPayload:
      return DecodePayload(bus, number, groups, groupSource, table, output);
    case LineKind::Telegram: break;
  }
  DecodedTelegram decoded = DecodeTelegram(bus.telegram, groups, table, output);
  LineResult result;
  result.failed = decoded.refused;
  result.text = std::move(decoded.text);
  if (output != Output::Text) {
    result.json["line"] = number;
    for (auto& item : decoded.json.items())
      result.json[item.key()] = std::move(item.value());
  }
  return result;
}

boost::optional<LineResult> DecodeLogLine(const std::string& line, std::size_t number,
                                          const GroupAddressTable* groups,
                                          const std::string& groupSource, bool table) {
  BusLine bus;
  return DecodeLogLine(line, number, groups, groupSource, table, Output::Both, bus);
}

}  // namespace Zelknx
