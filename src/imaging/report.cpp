// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/report.h"

#include <algorithm>

#include <fmt/format.h>

#include "base/printable.h"
#include "base/size_text.h"
#include "imaging/map_picture.h"
#include "imaging/report_plots.h"

namespace larkspur {
namespace {

constexpr std::string_view kStyle = R"(
body { font: 16px/1.5 sans-serif; color: #282c34; background: #fafaf8; max-width: 68rem;
  margin: 0 auto; padding: 1.5rem; }
h1 { font-size: 1.7rem; margin: 0 0 .2rem; } h2 { font-size: 1.25rem; margin: 2.2rem 0 .6rem; }
.quiet { color: #5d6470; } .big { font-size: 2.4rem; font-weight: bold; color: #2b6cb0; }
.bar { display: flex; height: 1.4rem; border-radius: .3rem; overflow: hidden; background: #cdd0d6; }
.bar i { display: block; } .present { background: #2b6cb0; } .unreadable { background: #d02018; }
table { border-collapse: collapse; width: 100%; } th { text-align: left; }
th, td { padding: .25rem .8rem .25rem 0; border-bottom: 1px solid #e3e4e8; vertical-align: top; }
td.n, th.n { text-align: right; white-space: nowrap; } td.p { word-break: break-all; }
svg { max-width: 100%; height: auto; } li { margin: .4rem 0; }
)";

std::string SectorsText(u64 sectors) {
  return SizeText(sectors << kSectorShift);
}

class ReportPage {
 public:
  ReportPage(cKVRSparseIO* image, const ReportFacts& facts)
      : m_image(image),
        m_facts(facts),
        m_sectors(image->GetSectorCount()),
        m_counts(CountStatuses(image, 0, m_sectors)) {}

  std::string Write() {
    Head();
    HowMuch();
    Disk();
    Map();
    Course();
    Partitions();
    Files();
    WhatNext();
    m_html += "</body></html>\n";
    return std::move(m_html);
  }

 private:
  template <typename... Values>
  void Add(fmt::format_string<Values...> format, Values&&... values) {
    m_html += fmt::format(format, std::forward<Values>(values)...);
  }

  void Head() {
    m_html += kReportMark;
    m_html += "<html lang=\"en\"><head><meta charset=\"utf-8\">\n";
    if (m_facts.refreshSeconds > 0) {
      Add("<meta http-equiv=\"refresh\" content=\"{}\">\n", m_facts.refreshSeconds);
    }
    m_html += "<meta name=\"viewport\" content=\"width=device-width\">\n<title>Rescue of ";
    m_html += Markup(m_facts.cache) + "</title>\n<style>" + std::string(kStyle) +
              "</style></head><body>\n";
    Add("<h1>What was saved of your disk</h1>\n<p class=\"quiet\">{}{}</p>\n",
        Markup(m_facts.cache), m_facts.made.empty() ? "" : ", " + Markup(m_facts.made));
  }

  void HowMuch() {
    if (!m_facts.damage.empty()) {
      Add("<p><b>The cache is damaged, so some of this may be wrong.</b> {}</p>\n",
          Markup(m_facts.damage));
    }
    const auto width = [this](u64 sectors) {
      return static_cast<double>(sectors) * 100 / static_cast<double>(m_sectors);
    };
    Add("<p><span class=\"big\">{}</span> of the disk is saved: {} of {}.</p>\n",
        PercentText(m_counts.present, m_sectors), SectorsText(m_counts.present),
        SectorsText(m_sectors));
    Add("<div class=\"bar\"><i class=\"present\" style=\"width:{:.3f}%\"></i>"
        "<i class=\"unreadable\" style=\"width:{:.3f}%\"></i></div>\n",
        width(m_counts.present), width(m_counts.unreadable));
    if (m_counts.unreadable > 0) {
      Add("<p>The disk could not read {}.</p>\n", SectorsText(m_counts.unreadable));
    }
    if (m_counts.unknown > 0) {
      Add("<p>Nothing is known of {}, because the cache is damaged.</p>\n",
          SectorsText(m_counts.unknown));
    }
    if (m_counts.missing > 0) {
      Add("<p>{} have not been read yet.</p>\n", SectorsText(m_counts.missing));
    }
  }

  void Disk() {
    if (!m_facts.history.disk) return;
    const ReportDisk& disk = *m_facts.history.disk;
    m_html += "<h2>The disk</h2>\n<table>\n";
    const auto row = [this](const char* name, const std::string& text) {
      if (!text.empty()) Add("<tr><td>{}</td><td>{}</td></tr>\n", name, Markup(text));
    };
    row("Model", disk.model);
    row("Serial number", disk.serial);
    row("Firmware", disk.firmware);
    row("Read from", disk.path);
    row("Size", SectorsText(m_sectors));
    m_html += "</table>\n";
  }

  void Map() {
    m_html +=
        "<h2>The map</h2>\n<p>The whole disk, from its first sector (top left) to its last. "
        "Blue is saved, red could not be read, grey has not been read yet.</p>\n";
    m_html += DrawMapSvg(m_image, m_facts.cache);
  }

  void Course() {
    const ReportHistory& history = m_facts.history;
    if (history.good.size() > 1) {
      m_html += "<h2>How it went</h2>\n<p>Saved data over the time of the work.</p>\n";
      m_html += PlotGoodData(history.good, m_sectors);
    }
    if (!history.failures.empty()) {
      m_html +=
          "<h2>Where reading failed</h2>\n<p>Failures along the disk, from its first sector "
          "to its last.</p>\n";
      m_html += PlotFailures(history.failures, m_sectors);
    }
    if (!history.failureKinds.empty()) {
      m_html += "<ul>\n";
      for (const auto& [kind, count] : history.failureKinds) {
        Add("<li>{}: {}</li>\n", CountText(count, "time"), Markup(kind));
      }
      m_html += "</ul>\n";
    }
    if (!history.runs.empty()) Runs();
  }

  void Runs() {
    m_html +=
        "<h2>Runs</h2>\n<table><tr><th>Begun</th><th>Ended</th><th>How</th>"
        "<th class=\"n\">Read from the disk</th></tr>\n";
    for (const ReportRun& run : m_facts.history.runs) {
      Add("<tr><td>{}</td><td>{}</td><td>{}</td><td class=\"n\">{}</td></tr>\n", Markup(run.start),
          Markup(run.end), Markup(run.how), SectorsText(run.asked));
    }
    m_html += "</table>\n";
  }

  void Partitions() {
    if (m_facts.partitions.empty()) return;
    m_html +=
        "<h2>Partitions</h2>\n<table><tr><th>Place</th><th>Kind</th><th class=\"n\">Size</th>"
        "<th class=\"n\">Saved</th></tr>\n";
    for (const ReportPartition& part : m_facts.partitions) {
      const StatusCounts counts = CountStatuses(m_image, part.start, part.sectors);
      Add("<tr><td>{}</td><td>{}</td><td class=\"n\">{}</td><td class=\"n\">{}</td></tr>\n",
          Markup(part.place), Markup(part.kind), SectorsText(part.sectors),
          PercentText(counts.present, part.sectors));
    }
    m_html += "</table>\n";
  }

  void Files() {
    if (!m_facts.files) return;
    const ReportFiles& files = *m_facts.files;
    m_html += "<h2>Files</h2>\n";
    for (const std::string& obstacle : files.obstacles) Add("<p>{}</p>\n", Markup(obstacle));
    if (files.complete + files.damaged + files.incomplete == 0) {
      if (files.obstacles.empty()) m_html += "<p>No files were found yet.</p>\n";
      return;
    }
    Add("<p>Saved whole: {}. Damaged, because parts could not be read: {}. Not complete yet: "
        "{}.</p>\n",
        CountText(files.complete, "file"), files.damaged, files.incomplete);
    if (files.listed.empty()) return;
    if (files.listed.size() < files.damaged + files.incomplete) {
      Add("<p>The first {} of them:</p>\n", files.listed.size());
    }
    m_html +=
        "<table><tr><th>File</th><th class=\"n\">Size</th><th>State</th>"
        "<th class=\"n\">Unreadable</th><th class=\"n\">Missing</th></tr>\n";
    for (const ReportFile& file : files.listed) FileRow(file);
    m_html += "</table>\n";
  }

  void FileRow(const ReportFile& file) {
    const std::string place = file.volume.empty() ? "" : "partition " + file.volume + ": ";
    Add("<tr><td class=\"p\">{}{}</td><td class=\"n\">{}</td><td>{}</td><td class=\"n\">{}</td>"
        "<td class=\"n\">{}</td></tr>\n",
        Markup(place), Markup(file.path), SizeText(file.size),
        file.isDamaged ? "damaged" : "incomplete", SectorsText(file.unreadable),
        SectorsText(file.missing));
  }

  void WhatNext() {
    m_html += "<h2>What to do next</h2>\n<ul>\n";
    if (m_counts.missing > 0) {
      m_html +=
          "<li>Parts of the disk have not been read yet. The same command as before continues "
          "where it stopped; nothing that was saved is read again.</li>\n";
    }
    if (m_counts.unreadable > 0) {
      m_html +=
          "<li>What the disk could not read is lost to software. If a damaged file is worth "
          "it, a laboratory may be able to read more: keep the disk switched off until "
          "then.</li>\n";
    }
    Add("<li>Work on copies from now on: never write to the failing disk, do not repair its file "
        "system, and keep the file {} as it is.</li>\n",
        Markup(m_facts.cache));
    m_html +=
        "<li>Copy the files that you need to a healthy disk, and look at the important ones "
        "with the program that made them.</li>\n</ul>\n";
  }

  cKVRSparseIO* m_image;
  const ReportFacts& m_facts;
  const u64 m_sectors;
  const StatusCounts m_counts;
  std::string m_html;
};

}  // namespace

std::string WriteReport(cKVRSparseIO* image, const ReportFacts& facts) {
  return ReportPage(image, facts).Write();
}

}  // namespace larkspur
