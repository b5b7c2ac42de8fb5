// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "catalog/message_catalog.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <gtest/gtest.h>

#include "catalog/pack_builder.h"

namespace larkspur {
namespace {

using fakes::Body;
using fakes::Compressed;
using fakes::Head;
using fakes::Le16;
using fakes::Le32;
using fakes::Pack;
using fakes::Section;

std::span<const u8> Image(const std::string& bytes) {
  return {reinterpret_cast<const u8*>(bytes.data()), bytes.size()};
}

class Catalog : public testing::Test {
 protected:
  bool Load(const std::string& pack) { return m_catalog.LoadPack(Image(pack)); }

  // The texts of a key on one line, "-" when there is no such key.
  std::string Dump(std::string_view key) const {
    const MessageTexts* const texts = m_catalog.Find(key);
    if (!texts) return "-";
    std::string line;
    for (const cWideString& text : *texts) {
      line += '[';
      for (const char16_t unit : text.View()) line += static_cast<char>(unit);
      line += ']';
    }
    return line;
  }

  cMessageCatalog m_catalog{{}, {}, {}};
};

TEST_F(Catalog, FindsTextsByKeyAndItem) {
  ASSERT_TRUE(Load(Pack(Section("raid::mkspan", Body({{"one"}, {"two"}})) +
                        Section("raid::main", Body({{"\xD0\x94\xF0\x9F\x92\xBE"}})))));
  EXPECT_EQ(Dump("raid::mkspan"), "[one][two]");
  EXPECT_EQ(m_catalog.Text("raid::main", 0), std::u16string(u"\u0414\xD83D\xDCBE"));
  EXPECT_EQ(m_catalog.Text("raid::main", 1), nullptr);
  EXPECT_EQ(m_catalog.Text("raid::mai", 0), nullptr);
  EXPECT_EQ(m_catalog.Find("raid::mkspan2"), nullptr);
  EXPECT_EQ(m_catalog.Find(""), nullptr);
}

TEST_F(Catalog, LaterPackReplacesWholeKeysAndLeavesOthers) {
  ASSERT_TRUE(Load(Pack(Section("a", Body({{"1"}, {"2"}})) + Section("b", Body({{"3"}})))));
  ASSERT_TRUE(Load(Pack(Section("a", Body({{"x"}, std::nullopt, {""}, {"y"}})))));
  EXPECT_EQ(Dump("a") + Dump("b"), "[x][][][y][3]") << "an absent text is empty";
  EXPECT_EQ(m_catalog.Text("a", 1), std::u16string());
}

TEST_F(Catalog, RefusesWhatIsNoPack) {
  const std::string sections = Section("a", Body({{"new"}}));
  const std::string catalog = "CIOMLANG" + sections;
  const std::string stream = Compressed(catalog);
  const u32 size = static_cast<u32>(catalog.size());
  std::string damaged = stream, other = Pack(sections);
  damaged[damaged.size() - 1] ^= 1;
  other[7] = 'X';
  const struct {
    const char* name;
    std::string pack;
  } cases[] = {
      {"empty", ""},
      {"without the magic", other},
      {"name beyond the end", "CIOMLAFICIOMBASETST\x09Test" + Le32(size)},
      {"size zero", Head() + Le32(0) + stream},
      {"size above 4 MiB", Head() + Le32(0x400001) + stream},
      {"size above the stream's", Head() + Le32(size + 1) + stream},
      {"size below the stream's", Head() + Le32(size - 1) + stream},
      {"no stream", Head() + Le32(size)},
      {"checksum damaged", Head() + Le32(size) + damaged},
      {"other contents", Head() + Le32(size) + Compressed("CIOMLANX" + sections)},
      {"contents of four bytes", Head() + Le32(4) + Compressed("CIOM")},
      {"bomb", Head() + Le32(0x400000) + Compressed("CIOMLANG" + std::string(0x500000, '\0'))},
  };
  ASSERT_TRUE(Load(Pack(Section("a", Body({{"old"}})))));
  for (const auto& c : cases) {
    EXPECT_FALSE(Load(c.pack)) << c.name;
    EXPECT_EQ(Dump("a"), "[old]") << c.name;
  }
}

TEST_F(Catalog, TakesTheLargestSize) {
  const std::string text(60000, 'x');
  std::string sections;
  while (sections.size() + 2 * 60000 < 0x400000) sections += Section("a", Body({{text}}));
  const u32 left = static_cast<u32>(0x400000 - 8 - sections.size());
  sections += Le32(4) + "last" + Le32(left - 12) + Le16(1) + Le16(3) + "abc" +
              std::string(left - 12 - 7, '\0');
  ASSERT_TRUE(Load(Pack(sections)));
  EXPECT_EQ(Dump("last"), "[abc]");
}

TEST_F(Catalog, KeepsWhatCameBeforeTheDamage) {
  const std::string good = Section("good", Body({{"new"}}));
  const std::string after = Section("then", Body({{"new"}}));
  const struct {
    const char* name;
    std::string section;
    const char* left;  // of the key "bad"
  } cases[] = {
      {"no count", Section("bad", ""), "[old]"},
      {"count of 0", Section("bad", Le16(0)), "[old]"},
      {"lengths beyond the body", Section("bad", Le16(2) + Le16(0)), "[old]"},
      {"text beyond the body", Section("bad", Le16(3) + Le16(1) + Le16(2) + Le16(0) + "ab"),
       "[a][][]"},
      {"key beyond the data", Le32(0x10000) + "bad", "[old]"},
      {"key of 4 GiB", Le32(0xFFFFFFFF) + "bad", "[old]"},
      {"body beyond the data", Le32(4) + "bad" + '\0' + Le32(0x7FFFFFFF), "[old]"},
  };
  for (const auto& c : cases) {
    ASSERT_TRUE(Load(Pack(Section("bad", Body({{"old"}})) + Section("good", Body({{"old"}})) +
                          Section("then", Body({{"old"}})))));
    EXPECT_FALSE(Load(Pack(good + c.section + after))) << c.name;
    EXPECT_EQ(Dump("good"), "[new]") << c.name;
    EXPECT_EQ(Dump("bad"), c.left) << c.name;
    EXPECT_EQ(Dump("then"), "[old]") << c.name;
  }
  EXPECT_FALSE(Load(Pack(Section("new", Le16(0)))));
  EXPECT_EQ(Dump("new"), "") << "known and empty";
}

class FakeSettings : public HostSettings {
 public:
  bool QuerySetting(u32 number, void* buffer, u32 capacity, u32* size) override {
    if (number != 16) return false;
    *size = sizeof value;
    std::memcpy(buffer, &value, std::min<size_t>(capacity, sizeof value));
    return true;
  }

  u32 value = 0;
};

class Languages : public testing::Test {
 protected:
  std::string State() const {
    std::string line =
        std::to_string(m_catalog.LanguageId()) + ' ' + std::string(m_catalog.LanguageCode());
    for (const char* key : {"raid::main", "ciom::main", "lnames"}) {
      const char16_t* const text = m_catalog.Text(key, 0);
      line += ' ';
      for (const char16_t unit : std::u16string_view(text ? text : u"-")) {
        line += static_cast<char>(unit);
      }
    }
    return line;
  }

  static std::string Toolkit(const char* text, const char* code) {
    return Pack(Section("ciom::main", Body({{text}})), code);
  }

  const std::string m_english = Pack(Section("raid::main", Body({{"Cancel"}})), "ENG", "English");
  const std::string m_german = Pack(Section("raid::main", Body({{"Abbrechen"}})), "DEU", "Deutsch");
  const std::string m_toolEnglish = Toolkit("Stop", "ENG"), m_toolFrench = Toolkit("Arret", "FRA");
  const std::string m_names = Pack(Section("lnames", Body({{"English"}})));
  const std::string m_broken = "CIOMLAFI, but nothing that follows";
  const LanguagePack m_module[3] = {
      {0, Image(m_english)}, {2, Image(m_german)}, {4, Image(m_broken)}};
  const LanguagePack m_toolkit[2] = {{0, Image(m_toolEnglish)}, {5, Image(m_toolFrench)}};
  cMessageCatalog m_catalog{m_module, m_toolkit, Image(m_names)};
  FakeSettings m_settings;
};

TEST_F(Languages, AreThoseThatTheSettingNames) {
  EXPECT_EQ(State(), "4294967295  - - -") << "none at first";
  m_catalog.SelectLanguage(nullptr);
  EXPECT_EQ(State(), "0 ENG Cancel Stop English") << "without settings";
  const struct {
    u32 language;
    const char* state;
  } steps[] = {{2, "2 DEU Abbrechen Stop English"},
               {4, "4 DEU Abbrechen Stop English"},  // a broken pack keeps the texts and the name
               {5, "5 ENG Cancel Arret English"},
               {77, "77 ENG Cancel Stop English"},  // an unknown one stays current
               {kNoLanguage, "0 ENG Cancel Stop English"}};
  HostSettings* settings = &m_settings;
  for (const auto& step : steps) {
    m_settings.value = step.language;
    m_catalog.SelectLanguage(std::exchange(settings, nullptr));  // they are remembered
    EXPECT_EQ(State(), step.state);
    if (step.language == 2) {
      EXPECT_EQ(m_catalog.LanguageName(), u"Deutsch");
    }
  }
}

TEST_F(Languages, AskingTwiceLoadsOnce) {
  m_catalog.SelectLanguage(&m_settings);
  const char16_t* const before = m_catalog.Text("raid::main", 0);
  m_catalog.LoadPack(Image(m_german));
  m_catalog.SelectLanguage(&m_settings);
  EXPECT_EQ(State(), "0 ENG Abbrechen Stop English");
  EXPECT_NE(before, nullptr);
}

}  // namespace
}  // namespace larkspur
