// The app host's start-up options and the XML file they are read from.
//
// The app host constructs one AppHostConfiguration, calls
// LoadConfigurationFile() once at start, and then reads the options through
// the getters. The file looks like this (every element and attribute is
// optional):
//
//   <ZelAppHostConfig WithoutKNX="1" TerminateOnFirmwareUpdate="0">
//     <ObjectModelConfig Path="/opt/userdata/devicestack/zelOM/config.json"/>
//     <OmbConfig><ResponseDps><Dp ObjId="17"/><Dp ObjId="42"/></ResponseDps></OmbConfig>
//     <Debugging Active="1">
//       <App RootPath="..."/> <ManagedApp RootPath="..."/>
//       <AppHost RootPath="..." DisableStartup="1"/>
//       <AppConnectorHost RootPath="..." DisableStartup="1"/>
//     </Debugging>
//   </ZelAppHostConfig>
//
// Thread safety: the five flags are atomic and may be queried and changed
// from any thread at any time. The paths and the response data points are
// not guarded: they are written only by the loaders, which must run before
// other threads read them.
#pragma once

#include "Zel/Export.h"
#include "Zel/NonCopyable.h"

#include <boost/filesystem/path.hpp>
#include <boost/optional.hpp>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace Zel {

// The file LoadConfigurationFile() reads.
inline constexpr char kAppHostConfigFilePath[] =
    "/opt/userdata/etc/zelapphost/zelapphostconfig.xml";
// Names used by the app host beside this file; the loader does not read them.
inline constexpr char kConnectorAppName[] = "ConnectorApp";
inline constexpr char kKimConfigName[] = "KimConfig";
// Where the object model configuration usually lies.
inline constexpr char kDefaultObjectModelConfigPath[] =
    "/opt/userdata/devicestack/zelOM/config.json";

// The bytes of the file at `path` (no terminator added), or empty when it
// cannot be opened, is not a regular file (a directory, FIFO or device), is
// larger than 1 MiB or grows past it while read, or a read fails. Never
// blocks on a FIFO.
ZEL_EXPORT boost::optional<std::vector<char>> LoadFile(const std::string& path);

class ZEL_EXPORT AppHostConfiguration : private NonCopyable {
 public:
  using Path = boost::filesystem::path;

  // All flags false, all paths and the response data points empty. Does
  // not read the file.
  AppHostConfiguration();

  bool IsInAppDebugMode() const;
  void SetAppDebugMode(bool on);
  // Sets the debug mode and returns the previous one.
  bool ReplaceAppDebugMode(bool on);

  bool IsAppHostStartupDisabled() const;
  // Returns nothing, unlike SetAppConnectorHostStartupDisabled: the
  // asymmetry is intended and callers of both rely on it.
  void SetAppHostStartupDisabled(bool disabled);

  bool IsAppConnectorHostStartupDisabled() const;
  // Sets the flag and returns the previous value.
  bool SetAppConnectorHostStartupDisabled(bool disabled);

  bool IsAppHostWithoutKNX() const;
  bool IsAppHostTerminateOnFirmwareUpdate() const;

  const boost::optional<Path>& GetRootPathNativeApp() const;
  const boost::optional<Path>& GetRootPathManagedApp() const;
  const boost::optional<Path>& GetRootPathAppHost() const;
  const boost::optional<Path>& GetRootPathAppConnectorHost() const;
  const boost::optional<Path>& GetPathObjectModelConfig() const;
  // Object ids of the response data points, in file order.
  const std::vector<unsigned long>& GetResponseDataPoints() const;

  // Reads kAppHostConfigFilePath; see LoadConfigurationFile(path).
  void LoadConfigurationFile();
  // Reads the file at `path` and applies it with LoadAppHostConfigXML.
  // A file that LoadFile cannot read is logged as an error and changes
  // nothing. A file that does not parse is logged as two errors (the
  // parser's message, then the fall-back) and keeps every value the
  // configuration had. Throws what LoadAppHostConfigXML throws.
  void LoadConfigurationFile(const std::string& path);

  // Parses `text` in place (REQUIRES: zero-terminated and writable; it is
  // modified) and applies it on top of the current values: absent
  // attributes leave their field as it is, response data points are
  // appended. Returns false after logging the parser's message when the
  // text is not well-formed XML, or after logging "elements nested deeper
  // than 256" when it nests deeper (before parsing); nothing is applied then.
  // Throws std::invalid_argument("stoul") for an ObjId without digits and
  // std::out_of_range("stoul") for one beyond 32 bits; fields applied
  // before the bad ObjId keep their new values.
  bool LoadAppHostConfigXML(char* text);

 private:
  std::atomic<bool> m_appDebugMode{false};
  std::atomic<bool> m_appHostStartupDisabled{false};
  std::atomic<bool> m_appConnectorHostStartupDisabled{false};
  std::atomic<bool> m_appHostWithoutKnx{false};
  std::atomic<bool> m_appHostTerminateOnFirmwareUpdate{false};
  boost::optional<Path> m_rootPathNativeApp;
  boost::optional<Path> m_rootPathManagedApp;
  boost::optional<Path> m_rootPathAppHost;
  boost::optional<Path> m_rootPathAppConnectorHost;
  boost::optional<Path> m_pathObjectModelConfig;
  std::vector<unsigned long> m_responseDataPoints;
};

}  // namespace Zel
