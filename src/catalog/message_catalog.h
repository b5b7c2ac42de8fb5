// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Every text that is shown, by key ("raid::mkspan") and item, in the language of the host.
//
// One thread fills and reads it: the one that calls the module. No lock guards it.

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"
#include "catalog/language_pack.h"
#include "catalog/packs.h"

namespace larkspur {

// The host's settings, as the host implements them. The order of operations is fixed.
class HostSettings {
 public:
  // False when the setting does not exist; else `*size` is its length in bytes and at most
  // `capacity` bytes of it are copied to `buffer`.
  virtual bool QuerySetting(u32 number, void* buffer, u32 capacity, u32* size) = 0;

 protected:
  ~HostSettings() = default;
};

constexpr u32 kNoLanguage = 0xFFFFFFFF;

class cMessageCatalog {
 public:
  // Tables of packs, whose first row stands in for a language that they lack, and the pack of the
  // languages' names. REQUIRES: all outlive the catalog.
  cMessageCatalog(std::span<const LanguagePack> modulePacks,
                  std::span<const LanguagePack> toolkitPacks, std::span<const u8> namesPack);

  // The texts of a key, null when there is none. Valid until the next pack is loaded.
  const MessageTexts* Find(std::string_view key) const;

  // One text of a key, null when the key or the item is missing; an absent text is empty.
  const char16_t* Text(std::string_view key, size_t item) const;

  // Merges a pack: each of its keys replaces the texts that the key had, other keys stay. False
  // when the pack or a part of it is damaged; what came before the damage is merged.
  bool LoadPack(std::span<const u8> image);

  // Loads the language that setting 16 names (4 bytes) unless it is the current one. `settings` is
  // kept for calls with null; without a usable setting the current language stays, and is English
  // at the first call. A language that has no packs becomes current with the texts of English.
  void SelectLanguage(HostSettings* settings);

  // The language wanted last, and code and name of the pack that was loaded for the module's texts.
  u32 LanguageId() const { return m_languageId; }
  std::string_view LanguageCode() const { return m_languageCode; }
  const std::u16string& LanguageName() const { return m_languageName; }

 private:
  // A key as big-endian words, zero-padded, so that the order of the map is that of the bytes.
  using Key = std::vector<u32>;
  static Key KeyOf(std::string_view text);

  u32 WantedLanguage() const;
  void LoadLanguage(u32 languageId);
  bool Merge(std::span<const u8> contents);

  std::span<const LanguagePack> m_modulePacks;
  std::span<const LanguagePack> m_toolkitPacks;
  std::span<const u8> m_namesPack;
  HostSettings* m_settings = nullptr;
  std::map<Key, MessageTexts> m_texts;
  u32 m_languageId = kNoLanguage;
  std::string m_languageCode;
  std::u16string m_languageName;
};

// The catalog of this process, over the packs stored in it, made when it is first asked for.
cMessageCatalog& Messages();

struct CatalogLanguage {
  u32 id = 0;           // as setting 16 has it
  std::u16string name;  // its own
};
// The languages that this process has texts in, English first.
std::vector<CatalogLanguage> CatalogLanguages();

// Frees the catalog of this process, for a module that leaves its host.
void ReleaseMessages();

}  // namespace larkspur
