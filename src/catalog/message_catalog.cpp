// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "catalog/message_catalog.h"

#include <cstring>

namespace larkspur {
namespace {

constexpr u32 kLanguageSetting = 16;

cMessageCatalog* g_messages = nullptr;

std::span<const u8> PackOf(std::span<const LanguagePack> packs, u32 languageId) {
  for (const LanguagePack& pack : packs) {
    if (pack.languageId == languageId) return pack.image;
  }
  return packs.empty() ? std::span<const u8>{} : packs.front().image;
}

}  // namespace

cMessageCatalog::cMessageCatalog(std::span<const LanguagePack> modulePacks,
                                 std::span<const LanguagePack> toolkitPacks,
                                 std::span<const u8> namesPack)
    : m_modulePacks(modulePacks), m_toolkitPacks(toolkitPacks), m_namesPack(namesPack) {}

cMessageCatalog::Key cMessageCatalog::KeyOf(std::string_view text) {
  Key key((text.size() + 3) / 4);
  for (size_t i = 0; i < text.size(); ++i) {
    key[i / 4] |= static_cast<u32>(static_cast<u8>(text[i])) << (24 - 8 * (i % 4));
  }
  return key;
}

const MessageTexts* cMessageCatalog::Find(std::string_view key) const {
  const auto found = m_texts.find(KeyOf(key));
  return found == m_texts.end() ? nullptr : &found->second;
}

const char16_t* cMessageCatalog::Text(std::string_view key, size_t item) const {
  const MessageTexts* const texts = Find(key);
  return texts && item < texts->size() ? (*texts)[item].Text() : nullptr;
}

bool cMessageCatalog::LoadPack(std::span<const u8> image) {
  const std::optional<PackHeader> header = ReadPackHeader(image);
  return header && Merge(header->contents);
}

bool cMessageCatalog::Merge(std::span<const u8> contents) {
  const std::vector<u8> catalog = UnpackCatalog(contents);
  if (catalog.empty()) return false;
  SectionReader sections(catalog);
  while (const auto section = sections.Next()) {
    if (!ReadTexts(section->body, m_texts[KeyOf(section->key)])) return false;
  }
  return !sections.Failed();
}

u32 cMessageCatalog::WantedLanguage() const {
  u8 value[sizeof(u32)] = {};
  u32 size = 0;
  if (!m_settings || !m_settings->QuerySetting(kLanguageSetting, value, sizeof value, &size) ||
      size != sizeof value) {
    return m_languageId;
  }
  u32 wanted;
  std::memcpy(&wanted, value, sizeof wanted);
  return wanted;
}

void cMessageCatalog::SelectLanguage(HostSettings* settings) {
  if (settings) m_settings = settings;
  const u32 wanted = WantedLanguage();
  if (wanted != kNoLanguage && wanted == m_languageId) return;
  if (m_languageId == kNoLanguage) LoadPack(m_namesPack);
  LoadLanguage(wanted);
  m_languageId = wanted == kNoLanguage ? 0 : wanted;
}

void cMessageCatalog::LoadLanguage(u32 languageId) {
  const std::optional<PackHeader> header = ReadPackHeader(PackOf(m_modulePacks, languageId));
  if (header && Merge(header->contents)) {
    m_languageCode = header->code;
    m_languageName = header->name;
  }
  LoadPack(PackOf(m_toolkitPacks, languageId));
}

cMessageCatalog& Messages() {
  if (!g_messages) {
    g_messages = new cMessageCatalog(kModulePacks, kToolkitPacks, kLanguageNamesPack);
  }
  return *g_messages;
}

std::vector<CatalogLanguage> CatalogLanguages() {
  std::vector<CatalogLanguage> languages;
  for (const LanguagePack& pack : kToolkitPacks) {
    if (const auto header = ReadPackHeader(pack.image)) {
      languages.push_back({pack.languageId, header->name});
    }
  }
  return languages;
}

void ReleaseMessages() {
  delete g_messages;
  g_messages = nullptr;
}

}  // namespace larkspur
