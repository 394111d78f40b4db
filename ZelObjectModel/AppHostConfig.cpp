// Reading the app host's start-up options from its XML file.
//
// The loader applies what the file says on top of the current values and
// never resets a field: absent elements and attributes leave their field
// alone, and response data points are appended. A parse error is reported
// and swallowed (the app host then runs with what it has); a bad ObjId
// number is not, it propagates to the caller as the standard conversion's
// exception.
#include "Zel/AppHostConfig.h"

#include "Zel/Log.h"

#include <rapidxml/rapidxml.hpp>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#define ZEL_LOG_SOURCE "ZelObjectModel/AppHostConfig"

namespace Zel {
namespace {

using Node = rapidxml::xml_node<char>;

// The value of attribute `name` of `node`, or null when it has none.
const char* Attribute(const Node& node, const char* name) {
  const auto* attribute = node.first_attribute(name);
  return attribute != nullptr ? attribute->value() : nullptr;
}

bool IsNamed(const Node& node, const char* name) { return std::strcmp(node.name(), name) == 0; }

// Every value but exactly "0" is true, so "false", "no" and "" switch a
// flag on; intended, existing files rely on it.
bool IsTrue(const char* value) { return std::strcmp(value, "0") != 0; }

void ApplyFlag(const Node& node, const char* name, std::atomic<bool>& flag) {
  if (const char* value = Attribute(node, name)) {
    flag.store(IsTrue(value));
  }
}

void ApplyPath(const Node& node, const char* name, boost::optional<boost::filesystem::path>& path) {
  if (const char* value = Attribute(node, name)) {
    path = boost::filesystem::path(value);
  }
}

// `text` converted as std::stoul(text, nullptr, 10) does where unsigned
// long has 32 bits (the device): leading white space and one sign are
// accepted, trailing characters ignored, a negative number wraps modulo
// 2^32 ("-1" is 4294967295). The result is the same on 64-bit hosts, where
// std::stoul itself would accept numbers up to 2^64 - 1.
// Throws std::invalid_argument("stoul") when no digits follow and
// std::out_of_range("stoul") when the magnitude exceeds 4294967295.
std::uint32_t ToObjectId(const char* text) {
  const char* digits = text;
  while (std::isspace(static_cast<unsigned char>(*digits))) {
    ++digits;
  }
  const bool negative = *digits == '-';
  if (*digits == '-' || *digits == '+') {
    ++digits;
  }
  if (!std::isdigit(static_cast<unsigned char>(*digits))) {
    throw std::invalid_argument("stoul");
  }
  errno = 0;
  const unsigned long long magnitude = std::strtoull(digits, nullptr, 10);
  if (errno == ERANGE || magnitude > 0xFFFFFFFFull) {
    throw std::out_of_range("stoul");
  }
  const auto value = static_cast<std::uint32_t>(magnitude);
  return negative ? static_cast<std::uint32_t>(0u - value) : value;
}

}  // namespace

boost::optional<std::vector<char>> LoadFile(const std::string& path) {
  std::ifstream file(path, std::ios::in | std::ios::binary);
  if (!file) {
    return boost::none;
  }
  return std::vector<char>(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

AppHostConfiguration::AppHostConfiguration() = default;

void AppHostConfiguration::LoadConfigurationFile() { LoadConfigurationFile(kAppHostConfigFilePath); }

void AppHostConfiguration::LoadConfigurationFile(const std::string& path) {
  boost::optional<std::vector<char>> text = LoadFile(path);
  if (!text) {
    ZEL_LOG_ERROR("App host config file cannot be read from: " << boost::filesystem::path(path));
    return;
  }
  // The parser stops at the first zero byte, so embedded zeros only
  // shorten the text; this one keeps it from running past the end.
  text->push_back('\0');
  if (!LoadAppHostConfigXML(text->data())) {
    ZEL_LOG_ERROR("Falling back to standard configuration.");
  }
}

bool AppHostConfiguration::LoadAppHostConfigXML(char* text) {
  rapidxml::xml_document<char> document;
  try {
    document.parse<0>(text);
  } catch (const rapidxml::parse_error& error) {
    ZEL_LOG_ERROR("Failed to read configuration file: " << error.what());
    return false;
  }

  for (const Node* root = document.first_node("ZelAppHostConfig"); root != nullptr;
       root = root->next_sibling("ZelAppHostConfig")) {
    ApplyFlag(*root, "WithoutKNX", m_appHostWithoutKnx);
    ApplyFlag(*root, "TerminateOnFirmwareUpdate", m_appHostTerminateOnFirmwareUpdate);

    // Text between elements forms unnamed data nodes, which no name matches.
    for (const Node* child = root->first_node(); child != nullptr; child = child->next_sibling()) {
      if (IsNamed(*child, "ObjectModelConfig")) {
        ApplyPath(*child, "Path", m_pathObjectModelConfig);
      } else if (IsNamed(*child, "OmbConfig")) {
        // Only the first child element counts; a ResponseDps after it is ignored.
        const Node* first = child->first_node();
        while (first != nullptr && first->type() != rapidxml::node_element) {
          first = first->next_sibling();
        }
        if (first == nullptr || !IsNamed(*first, "ResponseDps")) {
          continue;
        }
        for (const Node* dp = first->first_node("Dp"); dp != nullptr; dp = dp->next_sibling("Dp")) {
          if (const char* objectId = Attribute(*dp, "ObjId")) {
            m_responseDataPoints.push_back(ToObjectId(objectId));
          }
        }
      } else if (IsNamed(*child, "Debugging")) {
        ApplyFlag(*child, "Active", m_appDebugMode);
        // The paths are read whenever debug mode is on, also when a setter
        // switched it on before the load.
        if (!m_appDebugMode.load()) {
          continue;
        }
        for (const Node* app = child->first_node(); app != nullptr; app = app->next_sibling()) {
          if (IsNamed(*app, "App")) {
            ApplyPath(*app, "RootPath", m_rootPathNativeApp);
          } else if (IsNamed(*app, "ManagedApp")) {
            ApplyPath(*app, "RootPath", m_rootPathManagedApp);
          } else if (IsNamed(*app, "AppHost")) {
            ApplyPath(*app, "RootPath", m_rootPathAppHost);
            ApplyFlag(*app, "DisableStartup", m_appHostStartupDisabled);
          } else if (IsNamed(*app, "AppConnectorHost")) {
            ApplyPath(*app, "RootPath", m_rootPathAppConnectorHost);
            ApplyFlag(*app, "DisableStartup", m_appConnectorHostStartupDisabled);
          }
        }
      }
    }
  }

  // A disabled app host start-up disables the connector host's as well.
  if (m_appHostStartupDisabled.load()) {
    m_appConnectorHostStartupDisabled.store(true);
  }
  return true;
}

bool AppHostConfiguration::IsInAppDebugMode() const { return m_appDebugMode.load(); }
void AppHostConfiguration::SetAppDebugMode(bool on) { m_appDebugMode.store(on); }
bool AppHostConfiguration::ReplaceAppDebugMode(bool on) { return m_appDebugMode.exchange(on); }
bool AppHostConfiguration::IsAppHostStartupDisabled() const { return m_appHostStartupDisabled.load(); }
void AppHostConfiguration::SetAppHostStartupDisabled(bool disabled) { m_appHostStartupDisabled.store(disabled); }
bool AppHostConfiguration::IsAppConnectorHostStartupDisabled() const { return m_appConnectorHostStartupDisabled.load(); }
bool AppHostConfiguration::SetAppConnectorHostStartupDisabled(bool disabled) { return m_appConnectorHostStartupDisabled.exchange(disabled); }
bool AppHostConfiguration::IsAppHostWithoutKNX() const { return m_appHostWithoutKnx.load(); }
bool AppHostConfiguration::IsAppHostTerminateOnFirmwareUpdate() const { return m_appHostTerminateOnFirmwareUpdate.load(); }
const boost::optional<AppHostConfiguration::Path>& AppHostConfiguration::GetRootPathNativeApp() const { return m_rootPathNativeApp; }
const boost::optional<AppHostConfiguration::Path>& AppHostConfiguration::GetRootPathManagedApp() const { return m_rootPathManagedApp; }
const boost::optional<AppHostConfiguration::Path>& AppHostConfiguration::GetRootPathAppHost() const { return m_rootPathAppHost; }
const boost::optional<AppHostConfiguration::Path>& AppHostConfiguration::GetRootPathAppConnectorHost() const { return m_rootPathAppConnectorHost; }
const boost::optional<AppHostConfiguration::Path>& AppHostConfiguration::GetPathObjectModelConfig() const { return m_pathObjectModelConfig; }
const std::vector<unsigned long>& AppHostConfiguration::GetResponseDataPoints() const { return m_responseDataPoints; }

}  // namespace Zel
