// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/map_picture.h"

#include <algorithm>
#include <array>
#include <vector>

#include <fmt/core.h>
#include <stb/stb_easy_font.h>

#include "base/printable.h"
#include "base/size_text.h"

namespace larkspur {
namespace {

constexpr Colour kBackground{250, 250, 248};
constexpr Colour kInk{40, 44, 52};
constexpr Colour kPresentColour{43, 108, 176};
constexpr Colour kUnreadableColour{208, 32, 24};
constexpr Colour kMissingColour{205, 208, 214};

constexpr u32 kMargin = 24;
constexpr u32 kMapWidth = 1024;
constexpr u32 kMapHeight = 512;
constexpr u32 kTitleHeight = 56;
constexpr u32 kLegendHeight = 88;
constexpr u32 kWidth = kMapWidth + 2 * kMargin;
constexpr u32 kSmallestCell = 4;  // pixels
constexpr u32 kLargestCell = 64;
constexpr u32 kHalo = 2;  // pixels around small unreadable cells, so that a single one is seen
constexpr u32 kSwatch = 20;
constexpr u32 kLegendStep = kMapWidth / 3;
constexpr u32 kTextScale = 2;  // of a font 7 pixels high

Colour Blend(Colour from, Colour to, u8 share) {
  const auto mix = [share](u8 a, u8 b) {
    return static_cast<u8>((a * (255 - share) + b * share) / 255);
  };
  return {mix(from.red, to.red), mix(from.green, to.green), mix(from.blue, to.blue)};
}

// The grid laid out in rows of square cells, as large as fit.
struct Sheet {
  MapGrid grid;
  u32 cellPixels;
  u32 columns;

  u32 Halo() const { return cellPixels <= 8 ? kHalo : 0; }

  // The picture ends below the rows that are in use.
  u32 MapHeight() const {
    return static_cast<u32>((grid.cells.size() + columns - 1) / columns) * cellPixels;
  }
  u32 Height() const { return kTitleHeight + MapHeight() + kLegendHeight; }
  u32 LegendTop() const { return kTitleHeight + MapHeight() + 16; }
  u32 X(size_t cell) const { return kMargin + static_cast<u32>(cell % columns) * cellPixels; }
  u32 Y(size_t cell) const { return kTitleHeight + static_cast<u32>(cell / columns) * cellPixels; }
};

u64 CellsThatFit(u32 pixels) {
  return u64{kMapWidth / pixels} * (kMapHeight / pixels);
}

Sheet LayOut(cKVRSparseIO* image) {
  u32 pixels = kLargestCell;
  while (pixels > kSmallestCell && CellsThatFit(pixels) < image->GetSectorCount()) pixels /= 2;
  return {MakeMapGrid(image, CellsThatFit(pixels)), pixels, kMapWidth / pixels};
}

struct LegendItem {
  Colour colour;
  std::string text;
};

std::array<LegendItem, 3> Legend(const MapGrid& grid) {
  const auto item = [&grid](Colour colour, const char* name, u64 count) {
    return LegendItem{colour,
                      fmt::format("{}: {} ({})", name, count, PercentText(count, grid.sectors))};
  };
  return {item(kPresentColour, "present", grid.totals.present),
          item(kUnreadableColour, "unreadable", grid.totals.unreadable),
          item(kMissingColour, "missing", grid.totals.missing)};
}

std::string ScaleText(const MapGrid& grid) {
  return fmt::format("{}, {}; each square is {} ({}); red: at least one unreadable",
                     CountText(grid.sectors, "sector"), SizeText(grid.sectors << kSectorShift),
                     SizeText(grid.sectorsPerCell << kSectorShift),
                     CountText(grid.sectorsPerCell, "sector"));
}

void DrawText(Canvas* canvas, u32 x, u32 y, std::string text, u32 scale) {
  for (char& letter : text) {
    if (letter < ' ' || letter > '~') letter = '?';
  }
  struct Vertex {
    float x, y, z;
    u8 colour[4];
  };
  std::vector<Vertex> vertices(text.size() * 72);
  const int quads = stb_easy_font_print(0, 0, text.data(), nullptr, vertices.data(),
                                        static_cast<int>(vertices.size() * sizeof(Vertex)));
  for (int i = 0; i < quads; ++i) {
    const Vertex& topLeft = vertices[static_cast<size_t>(i) * 4];
    const Vertex& bottomRight = vertices[static_cast<size_t>(i) * 4 + 2];
    canvas->Fill(x + static_cast<u32>(topLeft.x) * scale, y + static_cast<u32>(topLeft.y) * scale,
                 static_cast<u32>(bottomRight.x - topLeft.x) * scale,
                 static_cast<u32>(bottomRight.y - topLeft.y) * scale, kInk);
  }
}

std::string Hex(Colour colour) {
  return fmt::format("#{:02x}{:02x}{:02x}", colour.red, colour.green, colour.blue);
}

void AddRect(std::string* svg, u32 x, u32 y, u32 width, u32 height, Colour colour) {
  *svg += fmt::format("<rect x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\" fill=\"{}\"/>\n", x, y,
                      width, height, Hex(colour));
}

void AddText(std::string* svg, u32 x, u32 y, u32 size, const std::string& text) {
  *svg += fmt::format("<text x=\"{}\" y=\"{}\" font-size=\"{}\" fill=\"{}\">{}</text>\n", x, y,
                      size, Hex(kInk), Markup(text));
}

}  // namespace

Colour ColourOf(const StatusCounts& cell) {
  const CellLook look = LookOf(cell);
  return look.unreadable ? kUnreadableColour : Blend(kMissingColour, kPresentColour, look.shade);
}

std::string DrawMapPng(cKVRSparseIO* image, const std::string& title) {
  const Sheet sheet = LayOut(image);
  Canvas canvas(kWidth, sheet.Height(), kBackground);
  DrawText(&canvas, kMargin, 20, title, kTextScale);
  const u32 gap = sheet.cellPixels > 8 ? 1 : 0;  // between cells that are large enough to count
  for (size_t i = 0; i < sheet.grid.cells.size(); ++i) {
    canvas.Fill(sheet.X(i), sheet.Y(i), sheet.cellPixels - gap, sheet.cellPixels - gap,
                ColourOf(sheet.grid.cells[i]));
  }
  const u32 marked = sheet.cellPixels + 2 * sheet.Halo() - gap;
  for (size_t i = 0; i < sheet.grid.cells.size(); ++i) {
    if (!LookOf(sheet.grid.cells[i]).unreadable) continue;
    canvas.Fill(sheet.X(i) - sheet.Halo(), sheet.Y(i) - sheet.Halo(), marked, marked,
                kUnreadableColour);
  }
  u32 x = kMargin;
  const u32 y = sheet.LegendTop();
  for (const LegendItem& item : Legend(sheet.grid)) {
    canvas.Fill(x, y, kSwatch, kSwatch, item.colour);
    DrawText(&canvas, x + kSwatch + 8, y + 3, item.text, kTextScale);
    x += kLegendStep;
  }
  DrawText(&canvas, kMargin, y + kSwatch + 18, ScaleText(sheet.grid), kTextScale);
  return canvas.ToPng();
}

std::string DrawMapSvg(cKVRSparseIO* image, const std::string& title) {
  const Sheet sheet = LayOut(image);
  std::string svg = fmt::format(
      "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 {0} {1}\" width=\"{0}\" "
      "height=\"{1}\" font-family=\"sans-serif\" shape-rendering=\"crispEdges\">\n",
      kWidth, sheet.Height());
  AddRect(&svg, 0, 0, kWidth, sheet.Height(), kBackground);
  AddText(&svg, kMargin, 36, 20, title);
  const auto& cells = sheet.grid.cells;
  std::string marks;
  for (size_t i = 0; i < cells.size();) {
    // Neighbours of one colour in a row are one rectangle.
    const Colour colour = ColourOf(cells[i]);
    const size_t rowEnd = std::min(cells.size(), (i / sheet.columns + 1) * sheet.columns);
    size_t end = i + 1;
    while (end < rowEnd && ColourOf(cells[end]) == colour) ++end;
    const u32 width = static_cast<u32>(end - i) * sheet.cellPixels;
    AddRect(&svg, sheet.X(i), sheet.Y(i), width, sheet.cellPixels, colour);
    if (colour == kUnreadableColour) {
      const u32 halo = sheet.Halo();
      AddRect(&marks, sheet.X(i) - halo, sheet.Y(i) - halo, width + 2 * halo,
              sheet.cellPixels + 2 * halo, colour);
    }
    i = end;
  }
  svg += marks;  // last, so that no neighbour covers them
  u32 x = kMargin;
  const u32 y = sheet.LegendTop();
  for (const LegendItem& item : Legend(sheet.grid)) {
    AddRect(&svg, x, y, kSwatch, kSwatch, item.colour);
    AddText(&svg, x + kSwatch + 8, y + 16, 16, item.text);
    x += kLegendStep;
  }
  AddText(&svg, kMargin, y + kSwatch + 32, 16, ScaleText(sheet.grid));
  return svg + "</svg>\n";
}

MapGrid MakeMapGrid(cKVRSparseIO* image, u64 maxCells) {
  MapGrid grid;
  grid.sectors = image->GetSectorCount();
  while ((grid.sectors - 1) / grid.sectorsPerCell >= maxCells) grid.sectorsPerCell *= 2;
  grid.cells.resize(static_cast<size_t>((grid.sectors - 1) / grid.sectorsPerCell + 1));
  image->VisitExtents(0, grid.sectors, [&grid](u64 start, u64 sectors, SectorStatus status) {
    grid.totals.Add(status, sectors);
    for (const u64 end = start + sectors; start < end;) {
      const u64 cell = start / grid.sectorsPerCell;
      const u64 cellEnd = std::min(end, (cell + 1) * grid.sectorsPerCell);
      grid.cells[static_cast<size_t>(cell)].Add(status, cellEnd - start);
      start = cellEnd;
    }
    return true;
  });
  return grid;
}

CellLook LookOf(const StatusCounts& cell) {
  // One sector of a million shows, present or missing.
  constexpr u64 kLeastPartly = 70, kMostPartly = 185, kWhole = 255;
  const u64 all = cell.present + cell.unreadable + cell.missing + cell.unknown;
  const u64 shade = cell.present == 0 ? 0
                    : cell.present == all
                        ? kWhole
                        : kLeastPartly + cell.present * (kMostPartly - kLeastPartly) / all;
  return {cell.unreadable > 0, static_cast<u8>(shade)};
}

}  // namespace larkspur
