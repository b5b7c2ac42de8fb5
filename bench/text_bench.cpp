// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The converters beside iconv(3), on 1 MiB of mixed text in the same run, and the selection of a
// language.

#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <iconv.h>

#include "base/text.h"
#include "catalog/message_catalog.h"

namespace larkspur {
namespace {

constexpr size_t kTextBytes = size_t{1} << 20;

struct Sample {
  u32 page;
  const char* iconvName;
  const char16_t* text;
};

// Words and numbers between the letters, as names and messages have them.
constexpr Sample kSamples[] = {
    {65001, "UTF-8",
     u"Disk 3: Ошибка чтения сектора 1234567, 日本語のファイル名.txt 💾 über Größe; "},
    {1251, "CP1251", u"Disk 3: Ошибка чтения сектора 1234567, имя файла.txt; "},
    {437, "CP437", u"Disk 3: über Größe 1234567, naïve café.txt ░▒▓; "},
    {932, "CP932", u"Disk 3: 日本語のファイル名を読み込めません 1234567 ｱｲｳ.txt; "},
    {936, "CP936", u"Disk 3: 无法读取扇区一二三四五六七 1234567 文件.txt; "},
    {949, "CP949", u"Disk 3: 섹터를 읽을 수 없습니다 1234567 파일 이름.txt; "},
    {950, "CP950", u"Disk 3: 無法讀取磁區一二三四五六七 1234567 檔案.txt; "},
};

std::string SampleBytes(const Sample& sample) {
  const std::u16string_view text = sample.text;
  std::string one(text.size() * 4, '\0');
  one.resize(WideToBytes(text.data(), text.size(), one.data(), one.size(), sample.page));
  std::string all;
  while (all.size() + one.size() <= kTextBytes) all += one;
  return all;
}

void SetRate(benchmark::State& state, const std::string& bytes) {
  state.SetBytesProcessed(static_cast<i64>(state.iterations() * bytes.size()));
}

void Decode(benchmark::State& state, Sample sample) {
  const std::string bytes = SampleBytes(sample);
  std::vector<char16_t> out(bytes.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        BytesToWide(bytes.data(), bytes.size(), out.data(), out.size(), sample.page));
  }
  SetRate(state, bytes);
}

void Encode(benchmark::State& state, Sample sample) {
  std::string bytes = SampleBytes(sample);
  std::vector<char16_t> text(bytes.size());
  const size_t units =
      BytesToWide(bytes.data(), bytes.size(), text.data(), text.size(), sample.page);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        WideToBytes(text.data(), units, bytes.data(), bytes.size(), sample.page));
  }
  SetRate(state, bytes);
}

void RunIconv(benchmark::State& state, iconv_t handle, std::string in, std::string out) {
  for (auto _ : state) {
    char* from = in.data();
    char* to = out.data();
    size_t fromLeft = in.size(), toLeft = out.size();
    if (iconv(handle, &from, &fromLeft, &to, &toLeft) == static_cast<size_t>(-1)) {
      state.SkipWithError("iconv refused the text");
      break;
    }
  }
  iconv_close(handle);
}

void DecodeIconv(benchmark::State& state, Sample sample) {
  const std::string bytes = SampleBytes(sample);
  RunIconv(state, iconv_open("UTF-16LE", sample.iconvName), bytes,
           std::string(bytes.size() * 2, '\0'));
  SetRate(state, bytes);
}

void EncodeIconv(benchmark::State& state, Sample sample) {
  const std::string bytes = SampleBytes(sample);
  std::vector<char16_t> text(bytes.size());
  const size_t units =
      BytesToWide(bytes.data(), bytes.size(), text.data(), text.size(), sample.page);
  RunIconv(state, iconv_open(sample.iconvName, "UTF-16LE"),
           std::string(reinterpret_cast<const char*>(text.data()), units * 2),
           std::string(bytes.size(), '\0'));
  SetRate(state, bytes);
}

void SelectLanguage(benchmark::State& state) {
  class Settings : public HostSettings {
   public:
    bool QuerySetting(u32, void* buffer, u32, u32* size) override {
      *static_cast<u32*>(buffer) = language;
      *size = 4;
      return true;
    }
    u32 language = 0;
  } settings;
  cMessageCatalog catalog(kModulePacks, kToolkitPacks, kLanguageNamesPack);
  for (auto _ : state) {
    settings.language = settings.language == 1 ? 3 : 1;
    catalog.SelectLanguage(&settings);
  }
}
BENCHMARK(SelectLanguage)->Unit(benchmark::kMicrosecond);

const bool g_registered = [] {
  for (const Sample& sample : kSamples) {
    const std::string page = std::to_string(sample.page);
    benchmark::RegisterBenchmark(("Decode/" + page).c_str(), Decode, sample);
    benchmark::RegisterBenchmark(("Decode/" + page + "/iconv").c_str(), DecodeIconv, sample);
    benchmark::RegisterBenchmark(("Encode/" + page).c_str(), Encode, sample);
    benchmark::RegisterBenchmark(("Encode/" + page + "/iconv").c_str(), EncodeIconv, sample);
  }
  return true;
}();

}  // namespace
}  // namespace larkspur
