// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The packs in this program: every language against English.

#include <set>
#include <string>

#include <gtest/gtest.h>

#include "base/text.h"
#include "catalog/message_catalog.h"
#include "catalog/packs.h"

namespace larkspur {
namespace {

struct Shape {
  const char* key;
  size_t items;
};

constexpr Shape kModuleShape[] = {{"raid::main", 2},
                                  {"raid::about", 5},
                                  {"raid::devopen", 4},
                                  {"raid::mkspan", 15},
                                  {"raid::cachenotes", 2}};
constexpr Shape kToolkitShape[] = {{"ciom::drives", 14},   {"ciom::filechoose", 25},
                                   {"ciom::filenotes", 6}, {"ciom::folderchoose", 8},
                                   {"ciom::messages", 7},  {"ciom::progress", 5},
                                   {"ciom::propsheet", 3}};

// The formatting places of a text in their order: "%s%.01f%%%02d".
std::u16string Placeholders(std::u16string_view text) {
  std::u16string found;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != u'%') continue;
    const size_t end = text.find_first_of(u"%sdfcxu", i + 1);
    if (end == text.npos) return u"broken";
    found += text.substr(i, end + 1 - i);
    i = end;
  }
  return found;
}

class Texts : public testing::Test {
 protected:
  static std::string Code(const LanguagePack& pack) {
    return std::string(ReadPackHeader(pack.image)->code);
  }

  static void Compare(const std::string& code, const MessageTexts& texts,
                      const MessageTexts& english, const char* key) {
    ASSERT_EQ(texts.size(), english.size()) << code << ' ' << key;
    for (size_t i = 0; i < texts.size(); ++i) {
      EXPECT_FALSE(texts[i].IsEmpty()) << code << ' ' << key << ' ' << i;
      EXPECT_EQ(Placeholders(texts[i].View()), Placeholders(english[i].View()))
          << code << ' ' << key << ' ' << i;
      EXPECT_EQ(texts[i].View().find(u'\xFFFD'), std::u16string_view::npos)
          << code << ' ' << key << ' ' << i;
    }
  }

  static void CompareAll(std::span<const LanguagePack> packs, std::span<const Shape> shape) {
    cMessageCatalog english({}, {}, {});
    ASSERT_TRUE(english.LoadPack(packs.front().image));
    for (const LanguagePack& pack : packs) {
      cMessageCatalog catalog({}, {}, {});
      ASSERT_TRUE(catalog.LoadPack(pack.image)) << Code(pack);
      for (const Shape& s : shape) {
        const MessageTexts* const texts = catalog.Find(s.key);
        ASSERT_TRUE(texts) << Code(pack) << ' ' << s.key;
        EXPECT_EQ(texts->size(), s.items) << Code(pack) << ' ' << s.key;
        Compare(Code(pack), *texts, *english.Find(s.key), s.key);
      }
    }
  }
};

TEST_F(Texts, EveryLanguageHasTheShapeOfEnglish) {
  CompareAll(kModulePacks, kModuleShape);
  CompareAll(kToolkitPacks, kToolkitShape);
}

TEST_F(Texts, NamesOfLanguagesAreByTheirIds) {
  EXPECT_EQ(ReadPackHeader(kLanguageNamesPack)->name, u"Langnames");
  cMessageCatalog catalog({}, {}, {});
  ASSERT_TRUE(catalog.LoadPack(kLanguageNamesPack));
  std::u16string line;
  for (const cWideString& name : *catalog.Find("lnames")) line.append(name.View()).append(u",");
  EXPECT_EQ(line,
            u"English,Русский,Deutsch,日本,한국어,Français,Українська,Español,简体中文,繁體中文,");
  for (const LanguagePack& pack : kToolkitPacks) {
    EXPECT_EQ(ReadPackHeader(pack.image)->name, catalog.Text("lnames", pack.languageId));
  }
}

// Every text can be stored in the code page of its language's systems.
TEST_F(Texts, FitTheirCodePages) {
  const struct {
    u32 language, page;
  } cases[] = {{0, 1252}, {1, 1251}, {2, 1252}, {3, 932}, {4, 949},
               {5, 1252}, {6, 1251}, {8, 936},  {9, 950}};
  for (const LanguagePack& pack : kToolkitPacks) {
    cMessageCatalog catalog({}, {}, {});
    catalog.LoadPack(pack.image);
    for (const auto& c : cases) {
      if (c.language != pack.languageId) continue;
      for (const Shape& s : kToolkitShape) {
        for (const cWideString& text : *catalog.Find(s.key)) {
          std::string bytes(text.View().size() * 2, '\0');
          bytes.resize(
              WideToBytes(text.Text(), text.View().size(), bytes.data(), bytes.size(), c.page));
          std::u16string back(bytes.size(), u'\0');
          back.resize(BytesToWide(bytes.data(), bytes.size(), back.data(), back.size(), c.page));
          EXPECT_EQ(back, text.View()) << c.language << ' ' << s.key;
        }
      }
    }
  }
}

}  // namespace
}  // namespace larkspur
