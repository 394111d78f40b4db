// The group address lists that zelknx reads: ETS's CSV exports in every
// layout found in real installations, and ETS 4, 5 and 6 projects, with
// and without a password, built in memory in the shapes ETS writes.
#include "GroupAddress.h"
#include "KnxprojBuilder.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Zelknx;
using Zel::Tests::KnxprojContents;
using Zel::Tests::MakeKnxproj;
using Zel::Tests::MakeZip;
using Zel::Tests::ZipCipher;

// Every entry: "ADDRESS NAME DPT" (DPT "-" for none), joined by "; ".
std::string Listing(const GroupAddressTable& table) {
  std::string listing;
  for (const auto& item : table.Entries()) {
    const GroupAddressEntry& entry = item.second;
    listing += (listing.empty() ? "" : "; ") + GroupAddressText(entry.address, entry.style) + " " +
               entry.name + " " + EntryDptText(entry).value_or("-");
  }
  return listing;
}

GroupAddressTable ReadCsv(const std::string& text) {
  std::istringstream in(text);
  return GroupAddressTable::Read(in, "ga.csv");
}

struct CsvCase {
  const char* shape;  // which tool or export option writes it
  std::string csv;
  const char* listing;
};

TEST(ZelknxGroupAddressCsv, EveryLayoutFoundInTheWild) {
  const std::vector<CsvCase> cases = {
      {"ETS 5/6, 1/1 with header: UTF-8 BOM, CR LF, all quoted, a description with the separator, quotes and a line break, range rows",
       "\xEF\xBB\xBF\"Group name\";\"Address\";\"Central\";\"Unfiltered\";\"Description\";\"DatapointType\";\"Security\"\r\n"
       "\"Erdgeschoß\";\"1/-/-\";\"\";\"\";\"\";\"\";\"Auto\"\r\n\"Küche\";\"1/2/-\";\"\";\"\";\"\";\"\";\"Auto\"\r\n"
       "\"Temperatur Küche\";\"1/2/3\";\"\";\"\";\"Fühler; \"\"Wand\"\"\r\nlinks\";\"DPST-9-1\";\"Auto\"\r\n"
       "\"Zähler\";\"1/2/5\";\"\";\"\";\"\";\"DPT-13\";\"Auto\"\r\n\"Reserve\";\"1/2/6\";\"\";\"\";\"\";\"\";\"Auto\"\r\n",
       "1/2/3 Temperatur Küche 9.001; 1/2/5 Zähler 13; 1/2/6 Reserve -"},
      {"ETS 5/6, 3/1 with header (9 columns): each name in its level's column",
       "\"Main\";\"Middle\";\"Sub\";\"Address\";\"Central\";\"Unfiltered\";\"Description\";\"DatapointType\";\"Security\"\n"
       "\"Erdgeschoss\";\"\";\"\";\"1/-/-\";\"\";\"\";\"\";\"\";\"Auto\"\n\"\";\"Küche\";\"\";\"1/2/-\";\"\";\"\";\"\";\"\";\"Auto\"\n"
       "\"\";\"\";\"Licht\";\"1/2/3\";\"\";\"\";\"\";\"DPST-1-1\";\"Auto\"\n",
       "1/2/3 Licht 1.001"},
      {"ETS 5, 3/1 without header (\"export with header\" off): unquoted single spaces for empty names",
       "\"U.etg\"; ; ;\"0/-/-\";\"\";\"\";\"\";\"\";\"Auto\"\n ;\"Licht\"; ;\"0/1/-\";\"\";\"\";\"\";\"\";\"Auto\"\n"
       " ; ;\"Licht Flur\";\"0/1/2\";\"\";\"\";\"\";\"DPST-1-1\";\"Auto\"\n",
       "0/1/2 Licht Flur 1.001"},
      {"ETS 4, 1/1 without header, tab separated, Windows-1252",
       "K\xFC"
       "che Licht\t1/2/3\t\t\t\tDPST-1-1\tAuto\r\nGer\xE4t \x80\t1/2/4\t\t\t\tDPST-9-1\tAuto\r\n",
       "1/2/3 Küche Licht 1.001; 1/2/4 Gerät € 9.001"},
      {"ETS 3, 1/1 without header: name and address only, comma", "\"Licht\",\"1/2/3\"\n\"Temp\",\"1/2/4\"\n",
       "1/2/3 Licht -; 1/2/4 Temp -"},
      {"ETS 3, 3/1 with German header, name and address columns only",
       "Hauptgruppe;Mittelgruppe;Untergruppe;Adresse\nEG;;;1/-/-\n;Licht;;1/2/-\n;;Küche;1/2/3\n", "1/2/3 Küche -"},
      {"ETS 5 in German, 1/1 with header",
       "\"Gruppenname\";\"Adresse\";\"Zentral\";\"Ungefiltert\";\"Beschreibung\";\"Datenpunkttyp\";\"Sicherheit\"\n"
       "\"Küche\";\"1/2/3\";\"\";\"\";\"\";\"DPST-9-1\";\"Auto\"\n",
       "1/2/3 Küche 9.001"},
      {"ETS's import shape (a name, a number per level), several DPTs in one cell, a range row",
       "\"Group name\",\"Main\",\"Middle\",\"Sub\",\"Central\",\"Unfiltered\",\"Description\",\"DatapointType\",\"Security\"\n"
       "\"Erdgeschoss\",1,,,,,,,\n\"Licht\",1,2,3,,,,\"DPST-1-1, DPST-1-2\",Auto\n",
       "1/2/3 Licht 1.001"},
      {"planning tools: three names then three numbers, no header",
       "\"EG\";\"\";\"\";\"1\";\"\";\"\";\"\"\n\"EG\";\"Küche\";\"Licht\";\"1\";\"2\";\"3\";\"DPST-1-1\"\n", "1/2/3 Licht 1.001"},
      {"planning tools: three names then three numbers, with header",
       "Main;Middle;Sub;Main;Middle;Sub;DatapointType\nEG;Küche;Licht;1;2;3;DPST-1-1\n", "1/2/3 Licht 1.001"},
      {"a two-level project, tab, bare fields",
       "Group name\tAddress\tCentral\tUnfiltered\tDescription\tDatapointType\tSecurity\nTemp\t1/515\t\t\t\tDPST-9-1\tAuto\n",
       "1/515 Temp 9.001"},
      {"a free-style project, comma, quoted", "\"Group name\",\"Address\",\"DatapointType\"\n\"Temp, hall\",\"2563\",\"DPST-9-1\"\n",
       "2563 Temp, hall 9.001"},
      {"a free-style project without header", "\"Temp\";\"2563\";\"\";\"\";\"\";\"DPST-9-1\";\"Auto\"\n", "2563 Temp 9.001"},
      {"columns in another order, no DatapointType column, blank lines", "\"Address\";\"Group name\"\n\n\"1/2/3\";\"Temp\"\n\n",
       "1/2/3 Temp -"},
      {"the last line without a line end, the first row of an address kept",
       "Group name;Address;DatapointType\nTemp;1/2/3;DPT-9\nDoppelt;1/2/3;", "1/2/3 Temp 9"},
  };
  for (const CsvCase& c : cases) {
    SCOPED_TRACE(c.shape);
    EXPECT_EQ(Listing(ReadCsv(c.csv)), c.listing);
  }
}

TEST(ZelknxGroupAddressCsv, MalformedFilesNameTheLine) {
  const std::string header = "\"Group name\";\"Address\";\"DatapointType\"\n";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", "ga.csv:0: empty file, expected an ETS group address export"},
      {"Name;Comment\nx;y\n", "ga.csv:1: no column of group addresses"},
      {header + "\"A\";\"1/2/3\";\"DPST-9-1\"\n\"B\";\"1/2/4\"\n", "ga.csv:3: 2 fields where the header row has 3"},
      {"\"A\";\"1/2/3\"\n\"B\";\"1/2/4\";\"x\"\n", "ga.csv:2: 3 fields where the first row has 2"},
      {"Haupt;Mittel\nx;y\nEG;;;1/-/-\n", "ga.csv:1: no column of group addresses"},  // found by fuzzing: addresses only past the first row's columns
      {header + "\"A\";\"1/8/3\";\"DPST-9-1\"\n", "ga.csv:2: bad group address '1/8/3'"},
      {header + "\"A\";\"1/2/3\";\"DPST-9\"\n", "ga.csv:2: bad datapoint type 'DPST-9'"},
      {header + "\"A\";\"1/2/3\";\"DPST-9-1\n", "ga.csv:2: a quoted field is not closed"},
      {header + "\"A\"x;\"1/2/3\";\"\"\n", "ga.csv:2: text after the closing quote of a field"},
      {header + "\"A\nB\";\"1/2/3\";\"\"\n\"C\";\"1/2/x\";\"\"\n", "ga.csv:4: bad group address '1/2/x'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.second);
    try {
      ReadCsv(c.first);
      ADD_FAILURE() << "read without an error";
    } catch (const GroupAddressCsvError& error) {
      EXPECT_EQ(std::string(error.what()).substr(0, c.second.size()), c.second);
    }
  }
}

KnxprojContents Contents(int schema, const char* style, ZipCipher cipher = ZipCipher::None,
                         const char* archivePassword = "", bool nested = true) {
  KnxprojContents contents;
  contents.schema = schema;
  contents.style = style;
  contents.groups = {{0x0A03, "Licht Küche", "DPST-1-1"},
                     {0x0A04, "Temp & \"Feuchte\"", "DPT-9"},
                     {0x0A05, "Reserve", ""},
                     {0x0A06, "Jalousie", "DPST-5-1 DPST-5-4"}};
  contents.nested = nested;
  contents.cipher = cipher;
  contents.archivePassword = archivePassword;
  return contents;
}

// The archive passwords that ETS 6 derives from "geheim" (here) and
// "Schlüssel" (below), as an independent implementation (Python's
// hashlib.pbkdf2_hmac) derives them: a project reads only when the reader
// derives the same.
const char kEts6Geheim[] = "8pqussL76WjB9C5muPqO/sN7UJruVxTWBHKyBPcdnlc=";

struct ProjectCase {
  const char* shape;
  KnxprojContents contents;
  const char* password;
  const char* listing;
};

TEST(ZelknxEtsProject, Ets4To6ProjectsWithAndWithoutPassword) {
  const char* threeLevel = "1/2/3 Licht Küche 1.001; 1/2/4 Temp & \"Feuchte\" 9; 1/2/5 Reserve -; 1/2/6 Jalousie 5.001";
  const std::vector<ProjectCase> cases = {
      {"ETS 4: schema 11, Project.xml", Contents(11, "ThreeLevel"), "", threeLevel},
      {"ETS 5: two-level, addresses outside group ranges", Contents(14, "TwoLevel", ZipCipher::None, "", false), "",
       "1/515 Licht Küche 1.001; 1/516 Temp & \"Feuchte\" 9; 1/517 Reserve -; 1/518 Jalousie 5.001"},
      {"ETS 6: free, a password given for an unprotected project", Contents(21, "Free"), "unused",
       "2563 Licht Küche 1.001; 2564 Temp & \"Feuchte\" 9; 2565 Reserve -; 2566 Jalousie 5.001"},
      {"ETS 5 with password: ZipCrypto", Contents(14, "ThreeLevel", ZipCipher::ZipCrypto, "geheim"), "geheim", threeLevel},
      {"ETS 5.7 with password: WinZip AES-256", Contents(20, "ThreeLevel", ZipCipher::Aes256, "geheim"), "geheim", threeLevel},
      {"ETS 6 with password: AES-256, the derived password", Contents(21, "ThreeLevel", ZipCipher::Aes256, kEts6Geheim), "geheim", threeLevel},
      {"ETS 6 with a password that is not ASCII", Contents(23, "ThreeLevel", ZipCipher::Aes256, "bpt1EARRIOEIyzC4sF+91zvVjrkfR9xYVC0ErKdn89Q="), "Schlüssel", threeLevel},
  };
  for (const ProjectCase& c : cases) {
    SCOPED_TRACE(c.shape);
    EXPECT_EQ(Listing(GroupAddressTable::ReadProject(MakeKnxproj(c.contents), "p.knxproj", c.password)), c.listing);
  }
}

struct RefusedCase {
  const char* what;
  std::string bytes;
  const char* password;
  std::string error;
  ProjectLimits limits = ProjectLimits();
};

TEST(ZelknxEtsProject, RefusedProjectsSayWhy) {
  const KnxprojContents ets5 = Contents(14, "ThreeLevel", ZipCipher::ZipCrypto, "geheim");
  const KnxprojContents ets6 = Contents(21, "ThreeLevel", ZipCipher::Aes256, kEts6Geheim);
  const std::string plain = MakeKnxproj(Contents(20, "ThreeLevel"));
  KnxprojContents large = Contents(20, "ThreeLevel");
  large.groups.assign(64, {0x0A03, "Licht", "DPST-1-1"});
  const std::string installation = Zel::Tests::InstallationXml(ets5);
  std::string badAddress = installation;
  badAddress.replace(badAddress.find("Address=\"2563\""), 14, "Address=\"65536\"");
  std::string badDpt = installation;
  badDpt.replace(badDpt.find("DPST-1-1"), 8, "DPST-1-x");
  const std::vector<RefusedCase> cases = {
      {"no password", MakeKnxproj(ets6), "", "p.knxproj: the project is password-protected: give its password (--password)"},
      {"wrong password, ETS 5", MakeKnxproj(ets5), "falsch", "p.knxproj: wrong password for the project"},
      {"wrong password, ETS 6", MakeKnxproj(ets6), "falsch", "p.knxproj: wrong password for the project"},
      {"truncated", plain.substr(0, plain.size() / 2), "", "p.knxproj: not a ZIP archive, or a damaged one"},
      {"not a ZIP archive", "\"Group name\";\"Address\"\n", "", "p.knxproj: not a ZIP archive, or a damaged one"},
      {"a damaged inner archive", MakeZip({{"P-0501.signature", ""}, {"P-0501.zip", "PK\3\4 damaged"}}), "", "p.knxproj: the project's own archive is damaged"},
      {"no project in it", MakeZip({{"readme.txt", "hello"}}), "", "p.knxproj: no ETS project in the archive"},
      {"0.xml is not a project's", MakeKnxproj(ets5, Zel::Tests::ProjectXml(ets5), "<Project />"), "geheim", "p.knxproj: 0.xml is not an ETS project file (root element <Project>"},
      {"0.xml is not XML", MakeKnxproj(ets5, Zel::Tests::ProjectXml(ets5), "<KNX xmlns=\"http://knx.org/xml/project/14\"><Project"), "geheim", "p.knxproj: 0.xml is not XML"},
      {"project.xml of another namespace", MakeKnxproj(ets5, "<KNX xmlns=\"http://example.org/\" />", installation), "geheim", "p.knxproj: project.xml is not an ETS project file"},
      {"an address past 16 bits", MakeKnxproj(ets5, Zel::Tests::ProjectXml(ets5), badAddress), "geheim", "p.knxproj: 0.xml: group address 'Licht Küche' has no Address 0..65535"},
      {"a DPT that is none", MakeKnxproj(ets5, Zel::Tests::ProjectXml(ets5), badDpt), "geheim", "p.knxproj: 0.xml: bad datapoint type 'DPST-1-x' of group address 1/2/3"},
      {"an entry past its bound", MakeKnxproj(large), "", "p.knxproj: P-0501/0.xml inflates to more than 4096 bytes (an archive bomb?)", ProjectLimits{4096, 1 << 20}},
      {"the project past its bound", MakeKnxproj(large), "", "p.knxproj: the project inflates to more than 4096 bytes", ProjectLimits{1 << 20, 4096}},
  };
  for (const RefusedCase& c : cases) {
    SCOPED_TRACE(c.what);
    try {
      GroupAddressTable::ReadProject(c.bytes, "p.knxproj", c.password, c.limits);
      ADD_FAILURE() << "read without an error";
    } catch (const GroupAddressSourceError& error) {
      EXPECT_EQ(std::string(error.what()).substr(0, c.error.size()), c.error);
    }
  }
}

}  // namespace
