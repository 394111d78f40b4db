#include "KnxprojBuilder.h"

#include <zip.h>

#include <cstdlib>
#include <stdexcept>

namespace Zel {
namespace Tests {
namespace {

std::string Namespace(const KnxprojContents& contents) {
  return "http://knx.org/xml/project/" + std::to_string(contents.schema);
}

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    escaped += c == '&' ? "&amp;" : c == '"' ? "&quot;"
                                : c == '<'   ? "&lt;"
                                             : std::string(1, c);
  }
  return escaped;
}

void Check(bool ok, const char* what) {
  if (!ok)
    throw std::runtime_error(std::string("MakeZip: ") + what);
}

}  // namespace

std::string MakeZip(const std::vector<std::pair<std::string, std::string>>& entries,
                    ZipCipher cipher, const std::string& password) {
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* buffer = zip_source_buffer_create(nullptr, 0, 0, &error);
  zip_t* archive = zip_open_from_source(buffer, ZIP_TRUNCATE, &error);
  Check(archive != nullptr, "cannot open an archive in memory");
  zip_source_keep(buffer);
  for (const auto& entry : entries) {
    zip_source_t* content =
        zip_source_buffer(archive, entry.second.data(), entry.second.size(), 0);
    const zip_int64_t index = zip_file_add(archive, entry.first.c_str(), content, ZIP_FL_ENC_UTF_8);
    Check(index >= 0, "cannot add an entry");
    if (cipher != ZipCipher::None) {
      const zip_uint16_t method = cipher == ZipCipher::Aes256 ? ZIP_EM_AES_256 : ZIP_EM_TRAD_PKWARE;
      Check(zip_file_set_encryption(archive, static_cast<zip_uint64_t>(index), method,
                                    password.c_str()) == 0,
            "cannot encrypt an entry");
    }
  }
  Check(zip_close(archive) == 0, "cannot write the archive");
  zip_stat_t stat;
  Check(zip_source_stat(buffer, &stat) == 0 && zip_source_open(buffer) == 0, "no archive written");
  std::string bytes(static_cast<std::size_t>(stat.size), '\0');
  Check(zip_source_read(buffer, &bytes[0], stat.size) == static_cast<zip_int64_t>(stat.size),
        "cannot read the archive back");
  zip_source_close(buffer);
  zip_source_free(buffer);
  return bytes;
}

std::string ProjectXml(const KnxprojContents& contents) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<KNX xmlns=\"" + Namespace(contents) +
         "\" CreatedBy=\"ETS\">\r\n  <Project Id=\"P-0501\">\r\n    <ProjectInformation "
         "Name=\"Haus\" GroupAddressStyle=\"" +
         contents.style + "\" />\r\n  </Project>\r\n</KNX>\r\n";
}

std::string InstallationXml(const KnxprojContents& contents) {
  std::string xml = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<KNX xmlns=\"" +
                    Namespace(contents) +
                    "\">\r\n<Project Id=\"P-0501\"><Installations><Installation Name=\"\">"
                    "<Topology><Area Id=\"P-0501-0_A-1\" Address=\"1\" /></Topology>"
                    "<GroupAddresses><GroupRanges>\r\n";
  if (contents.nested)
    xml +=
        "<GroupRange Id=\"P-0501-0_GR-1\" RangeStart=\"0\" RangeEnd=\"65535\" Name=\"Alle\">"
        "<GroupRange Id=\"P-0501-0_GR-2\" RangeStart=\"0\" RangeEnd=\"65535\" Name=\"Licht\">\r\n";
  int id = 0;
  for (const KnxprojGroup& group : contents.groups) {
    ++id;
    xml += "<GroupAddress Id=\"P-0501-0_GA-" + std::to_string(id) + "\" Address=\"" +
           std::to_string(group.address) + "\" Name=\"" + Escaped(group.name) + "\"" +
           (group.dpt.empty() ? "" : " DatapointType=\"" + group.dpt + "\"") + " Puid=\"" +
           std::to_string(100 + id) + "\" />\r\n";
  }
  if (contents.nested)
    xml += "</GroupRange></GroupRange>";
  return xml + "</GroupRanges></GroupAddresses></Installation></Installations></Project></KNX>\r\n";
}

std::string MakeKnxproj(const KnxprojContents& contents) {
  return MakeKnxproj(contents, ProjectXml(contents), InstallationXml(contents));
}

std::string MakeKnxproj(const KnxprojContents& contents, const std::string& projectXml,
                        const std::string& installationXml) {
  const std::string projectName = contents.schema < 12 ? "Project.xml" : "project.xml";
  std::vector<std::pair<std::string, std::string>> entries = {
      {"knx_master.xml", "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<KNX xmlns=\"" +
                             Namespace(contents) + "\"><MasterData /></KNX>"},
      {"P-0501.signature", "signature"},
  };
  if (contents.cipher == ZipCipher::None) {
    entries.emplace_back("P-0501/" + projectName, projectXml);
    entries.emplace_back("P-0501/0.xml", installationXml);
  } else {
    entries.emplace_back("P-0501.zip", MakeZip({{projectName, projectXml}, {"0.xml", installationXml}},
                                               contents.cipher, contents.archivePassword));
  }
  return MakeZip(entries);
}

}  // namespace Tests
}  // namespace Zel
