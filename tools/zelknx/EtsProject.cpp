// ETS projects (.knxproj), read in memory: nothing is written to disk.
//
// A project is a ZIP archive of XML files:
//   knx_master.xml         the KNX master data (not read here)
//   P-0501.signature
//   P-0501/project.xml     ProjectInformation: Name, GroupAddressStyle
//                          (ThreeLevel, TwoLevel, Free); ETS 4 writes
//                          Project.xml
//   P-0501/0.xml           the installation: its topology and the group
//                          addresses, KNX/Project/Installations/
//                          Installation/GroupAddresses/GroupRanges/
//                          GroupRange (nested)/GroupAddress with Address (the
//                          16-bit number), Name and DatapointType
// A password-protected project has P-0501.zip instead of the folder: an
// archive of project.xml and 0.xml whose entries are encrypted (ZipCrypto
// or WinZip AES) with the password itself (ETS 4, 5) or with the password
// derived from it (ETS 6, Ets6ArchivePassword). The XML's namespace is
// http://knx.org/xml/project/N, N the schema version (11: ETS 4, 12..20:
// ETS 5, 21 and later: ETS 6).
#include "GroupAddress.h"

#include "ValueText.h"

#include <openssl/evp.h>
#include <pugixml.hpp>
#include <utf8.h>
#include <zip.h>

#include <array>
#include <memory>
#include <fstream>
#include <iterator>
#include <vector>

namespace Zelknx {
namespace {

constexpr char kProjectNamespace[] = "http://knx.org/xml/project/";
// GroupRange elements nest a few levels deep; anything deeper is no project.
constexpr std::size_t kMaxDepth = 64;

std::string LibzipError(int code) {
  zip_error_t error;
  zip_error_init_with_code(&error, code);
  std::string text = zip_error_strerror(&error);
  zip_error_fini(&error);
  return text;
}

// What reading one project has inflated, against its limits.
class Reading {
 public:
  Reading(const std::string& source, const ProjectLimits& limits)
      : m_source(source), m_limits(limits) {}

  [[noreturn]] void Fail(const std::string& message) const {
    throw GroupAddressSourceError(m_source + ": " + message);
  }

  // Counts `bytes` more of `entry`, which now has `entrySize`.
  void Inflated(const std::string& entry, std::size_t entrySize, std::size_t bytes) {
    m_total += bytes;
    if (entrySize > m_limits.entryBytes) {
      Fail(entry + " inflates to more than " + std::to_string(m_limits.entryBytes) +
           " bytes (an archive bomb?)");
    }
    if (m_total > m_limits.totalBytes) {
      Fail("the project inflates to more than " + std::to_string(m_limits.totalBytes) +
           " bytes (an archive bomb?)");
    }
  }

 private:
  const std::string& m_source;
  const ProjectLimits& m_limits;
  std::size_t m_total = 0;
};

// A ZIP archive in memory.
class Archive {
 public:
  // REQUIRES: `bytes` outlives the archive.
  Archive(const std::string& bytes, Reading& reading, const char* what) : m_reading(reading) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
    m_zip = source != nullptr ? zip_open_from_source(source, ZIP_RDONLY, &error) : nullptr;
    if (m_zip == nullptr) {
      zip_source_free(source);
      const std::string why = zip_error_strerror(&error);
      zip_error_fini(&error);
      reading.Fail(std::string(what) + " (" + why + ")");
    }
  }
  ~Archive() { zip_discard(m_zip); }
  Archive(const Archive&) = delete;
  Archive& operator=(const Archive&) = delete;

  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    const zip_int64_t count = zip_get_num_entries(m_zip, 0);
    for (zip_int64_t i = 0; i < count; ++i)
      names.push_back(Name(static_cast<zip_uint64_t>(i)));
    return names;
  }

  // The entry named `name` (case ignored), or fails with `missing`.
  zip_uint64_t Locate(const std::string& name, const std::string& missing) const {
    const zip_int64_t index = zip_name_locate(m_zip, name.c_str(), ZIP_FL_NOCASE);
    if (index < 0)
      m_reading.Fail(missing);
    return static_cast<zip_uint64_t>(index);
  }

  // The bytes of entry `index` into `out`, decrypted with `password` where
  // the entry is encrypted and one is given; libzip's error code, 0 when
  // read. Fails when the entry or the project inflates past the limits.
  int Read(zip_uint64_t index, const char* password, std::string& out) {
    out.clear();
    const std::string name = Name(index);
    // Closed however the reading ends: the limits throw.
    const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> file(
        zip_fopen_index_encrypted(m_zip, index, 0, password), zip_fclose);
    if (!file)
      return zip_error_code_zip(zip_get_error(m_zip));
    std::array<char, 65536> chunk;
    zip_int64_t got = 0;
    while ((got = zip_fread(file.get(), chunk.data(), chunk.size())) > 0) {
      const auto bytes = static_cast<std::size_t>(got);
      m_reading.Inflated(name, out.size() + bytes, bytes);
      out.append(chunk.data(), bytes);
    }
    return got < 0 ? zip_error_code_zip(zip_file_get_error(file.get())) : 0;
  }

  // The bytes of entry `index`, or fails naming it.
  std::string Read(zip_uint64_t index, const char* password = nullptr) {
    std::string out;
    const int code = Read(index, password, out);
    if (code != 0) {
      m_reading.Fail(Name(index) + " cannot be read (" + LibzipError(code) + ")");
    }
    return out;
  }

 private:
  std::string Name(zip_uint64_t index) const {
    const char* name = zip_get_name(m_zip, index, ZIP_FL_ENC_RAW);
    return name != nullptr ? name : "entry " + std::to_string(index);
  }

  Reading& m_reading;
  zip_t* m_zip = nullptr;
};

// The XML of `file`, parsed in place; fails unless it is a project's.
pugi::xml_node ParseProjectXml(pugi::xml_document& document, std::string& text,
                               const std::string& file, const Reading& reading) {
  const pugi::xml_parse_result parsed = document.load_buffer_inplace(
      &text[0], text.size(), pugi::parse_minimal | pugi::parse_escapes, pugi::encoding_auto);
  if (!parsed) {
    reading.Fail(file + " is not XML (" + parsed.description() + " at offset " +
                 std::to_string(parsed.offset) + ")");
  }
  const pugi::xml_node root = document.document_element();
  const std::string space = root.attribute("xmlns").value();
  if (std::string(root.name()) != "KNX" ||
      space.compare(0, sizeof kProjectNamespace - 1, kProjectNamespace) != 0) {
    reading.Fail(file + " is not an ETS project file (root element <" + std::string(root.name()) +
                 "> in namespace '" + space + "')");
  }
  return root;
}

AddressStyle ReadStyle(std::string& text, const std::string& file, const Reading& reading) {
  pugi::xml_document document;
  const std::string style = ParseProjectXml(document, text, file, reading)
                                .child("Project")
                                .child("ProjectInformation")
                                .attribute("GroupAddressStyle")
                                .value();
  return style == "TwoLevel" ? AddressStyle::TwoLevel
         : style == "Free"   ? AddressStyle::Free
                             : AddressStyle::ThreeLevel;
}

// Every GroupAddress under the first installation's GroupAddresses, however
// deep its GroupRanges nest (walked without recursion).
void ReadGroupAddresses(std::string& text, const std::string& file, AddressStyle style,
                        const Reading& reading, GroupAddressTable& table) {
  pugi::xml_document document;
  const pugi::xml_node groups = ParseProjectXml(document, text, file, reading)
                                    .child("Project")
                                    .child("Installations")
                                    .child("Installation")
                                    .child("GroupAddresses");
  if (!groups)
    reading.Fail(file + " has no group addresses (no Installation/GroupAddresses element)");
  std::size_t depth = 0;
  for (pugi::xml_node node = groups.first_child(); node && node != groups;) {
    if (std::string(node.name()) == "GroupAddress") {
      GroupAddressEntry entry;
      entry.name = node.attribute("Name").value();
      entry.style = style;
      const std::string address = node.attribute("Address").value();
      const auto number = address.find_first_not_of("0123456789") == std::string::npos
                              ? ParseUnsigned(address, 65535)
                              : boost::none;
      if (!number)
        reading.Fail(file + ": group address '" + entry.name + "' has no Address 0..65535");
      entry.address = static_cast<std::uint16_t>(*number);
      const std::string dpt = node.attribute("DatapointType").value();
      if (!SetEntryDpt(entry, dpt)) {
        reading.Fail(file + ": bad datapoint type '" + dpt + "' of group address " +
                     GroupAddressText(entry.address, style));
      }
      table.Add(std::move(entry));
    }
    if (node.first_child()) {
      if (++depth > kMaxDepth)
        reading.Fail(file + " nests its group ranges more than " + std::to_string(kMaxDepth) +
                     " deep");
      node = node.first_child();
      continue;
    }
    while (node != groups && !node.next_sibling()) {
      node = node.parent();
      --depth;
    }
    if (node != groups)
      node = node.next_sibling();
  }
}

bool StartsWith(const std::string& text, const char* prefix) {
  return text.compare(0, std::char_traits<char>::length(prefix), prefix) == 0;
}
bool EndsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}  // namespace

std::string Ets6ArchivePassword(const std::string& password) {
  if (!utf8::is_valid(password.begin(), password.end()))
    return std::string();
  std::vector<std::uint16_t> units;
  utf8::utf8to16(password.begin(), password.end(), std::back_inserter(units));
  std::string utf16le;
  for (const std::uint16_t unit : units) {
    utf16le += static_cast<char>(unit & 0xFF);
    utf16le += static_cast<char>(unit >> 8);
  }
  static constexpr char kSalt[] = "21.project.ets.knx.org";
  std::array<unsigned char, 32> key{};
  if (PKCS5_PBKDF2_HMAC(utf16le.data(), static_cast<int>(utf16le.size()),
                        reinterpret_cast<const unsigned char*>(kSalt), sizeof kSalt - 1, 65536,
                        EVP_sha256(), static_cast<int>(key.size()), key.data()) != 1) {
    return std::string();
  }
  std::array<unsigned char, 4 * ((32 + 2) / 3) + 1> base64{};
  const int length = EVP_EncodeBlock(base64.data(), key.data(), static_cast<int>(key.size()));
  return std::string(reinterpret_cast<const char*>(base64.data()),
                     static_cast<std::size_t>(length));
}

GroupAddressTable GroupAddressTable::ReadProject(const std::string& bytes,
                                                 const std::string& source,
                                                 const std::string& password,
                                                 const ProjectLimits& limits) {
  Reading reading(source, limits);
  Archive outer(bytes, reading, "not a ZIP archive, or a damaged one");
  std::string folder, inner;  // P-0501/ with 0.xml in it; P-0501.zip
  for (const std::string& name : outer.Names()) {
    const std::size_t slash = name.find('/');
    if (StartsWith(name, "P-") && slash != std::string::npos && name.substr(slash) == "/0.xml")
      folder = name.substr(0, slash + 1);
    else if (StartsWith(name, "P-") && slash == std::string::npos && EndsWith(name, ".zip"))
      inner = name;
  }
  std::string meta, installation;  // project.xml, 0.xml
  if (!folder.empty()) {
    installation = outer.Read(outer.Locate(folder + "0.xml", ""));
    meta = outer.Read(outer.Locate(folder + "project.xml", "no " + folder + "project.xml"));
  } else if (!inner.empty()) {
    const std::string innerBytes = outer.Read(outer.Locate(inner, ""));
    Archive archive(innerBytes, reading, "the project's own archive is damaged");
    const zip_uint64_t metaIndex = archive.Locate("project.xml", "no project.xml in " + inner);
    const zip_uint64_t installationIndex = archive.Locate("0.xml", "no 0.xml in " + inner);
    // The password as given (ETS 4, 5), then as ETS 6 derives it (which
    // takes a while: only when the first one fails).
    std::string candidates[2] = {password, std::string()};
    const std::string* opened = nullptr;
    for (std::string& candidate : candidates) {
      if (&candidate != &candidates[0]) {
        if (password.empty())
          break;
        candidate = Ets6ArchivePassword(password);
      }
      const int code =
          archive.Read(metaIndex, candidate.empty() ? nullptr : candidate.c_str(), meta);
      if (code == 0) {
        opened = &candidate;
        break;
      }
      if (code == ZIP_ER_NOPASSWD)
        reading.Fail("the project is password-protected: give its password (--password)");
      if (code == ZIP_ER_ENCRNOTSUPP || code == ZIP_ER_COMPNOTSUPP)
        reading.Fail(inner + " cannot be read (" + LibzipError(code) + ")");
    }
    if (opened == nullptr)
      reading.Fail("wrong password for the project (or its archive " + inner + " is damaged)");
    installation = archive.Read(installationIndex, opened->empty() ? nullptr : opened->c_str());
  } else {
    reading.Fail("no ETS project in the archive (neither P-*/0.xml nor P-*.zip)");
  }
  const AddressStyle style = ReadStyle(meta, "project.xml", reading);
  GroupAddressTable table;
  ReadGroupAddresses(installation, "0.xml", style, reading, table);
  return table;
}

GroupAddressTable GroupAddressTable::LoadProject(const std::string& path,
                                                 const std::string& password) {
  std::ifstream in(path, std::ios::binary);
  if (!in)
    throw GroupAddressSourceError(path + ": cannot be read");
  const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  return ReadProject(bytes, path, password);
}

}  // namespace Zelknx
