// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/icon_shapes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>

namespace larkspur {
namespace {

constexpr double kUnits = 32;
constexpr u32 kLargestExtent = 512;
constexpr size_t kMostPoints = 8;

struct Point {
  double x = 0;
  double y = 0;
};

struct Figure {
  u32 colour = 0;  // 0xRRGGBB
  double radius = 0;
  size_t count = 0;
  std::array<Point, kMostPoints> points{};
};

constexpr Figure Disc(u32 colour, Point centre, double radius) {
  return {colour, radius, 1, {centre}};
}
constexpr Figure Line(u32 colour, double width, Point from, Point to) {
  return {colour, width / 2, 2, {from, to}};
}
// The box with these edges; its corners are rounded by `radius`.
constexpr Figure Block(u32 colour, Point low, Point high, double radius = 0.75) {
  const Point a{low.x + radius, low.y + radius}, b{high.x - radius, high.y - radius};
  return {colour, radius, 4, {a, Point{b.x, a.y}, b, Point{a.x, b.y}}};
}
template <typename... Points>
constexpr Figure Polygon(u32 colour, double radius, Points... points) {
  return {colour, radius, sizeof...(points), {points...}};
}
using P = Point;

// Colours that keep apart from light and dark grounds alike.
constexpr u32 kGreen = 0x2E9E4F, kRed = 0xD23B3B, kBlue = 0x2F6FC4, kYellow = 0xF0B429;
constexpr u32 kSand = 0xE8B84A, kPaleSand = 0xF7D98B, kInk = 0x4A5560, kGrey = 0x8A949E;
constexpr u32 kPale = 0xDDE3E9, kWhite = 0xFFFFFF, kViolet = 0x6A5ACD;

constexpr Figure kAccept[] = {Line(kGreen, 5, {5, 17}, {12, 24}),
                              Line(kGreen, 5, {12, 24}, {27, 8})};
constexpr Figure kCancel[] = {Line(kRed, 5, {7, 7}, {25, 25}), Line(kRed, 5, {25, 7}, {7, 25})};
constexpr Figure kAdd[] = {Line(kGreen, 6, {16, 5}, {16, 27}), Line(kGreen, 6, {5, 16}, {27, 16})};
constexpr Figure kFolder[] = {Block(kSand, {2, 6}, {15, 14}, 1.5),
                              Block(kSand, {2, 9}, {30, 27}, 1.5),
                              Block(kPaleSand, {2, 13}, {30, 27}, 1.5)};
constexpr Figure kChoose[] = {Block(kSand, {1, 5}, {14, 14}, 1.5),
                              Block(kSand, {1, 8}, {27, 27}, 1.5),
                              Polygon(kPaleSand, 1, P{7, 15}, P{30, 15}, P{25, 26}, P{2.5, 26})};
constexpr Figure kFile[] = {
    Polygon(kGrey, 1, P{6, 3}, P{20, 3}, P{26, 9}, P{26, 29}, P{6, 29}),
    Polygon(kWhite, 0.5, P{7.5, 4.5}, P{18.5, 4.5}, P{24.5, 10.5}, P{24.5, 27.5}, P{7.5, 27.5}),
    Polygon(kGrey, 0.5, P{18.5, 4}, P{25, 10.5}, P{18.5, 10.5})};
constexpr Figure kDrive[] = {Block(kInk, {2, 10}, {30, 24}, 2), Block(kPale, {4, 12}, {28, 17}, 1),
                             Disc(kGreen, {25, 20.5}, 1.75),
                             Line(kPale, 1.5, {6, 20.5}, {16, 20.5})};
constexpr Figure kDisc[] = {Disc(kGrey, {16, 16}, 14), Disc(kPale, {16, 16}, 12.5),
                            Disc(kGrey, {16, 16}, 5), Disc(kWhite, {16, 16}, 3)};
constexpr Figure kNetwork[] = {Block(kInk, {4, 4}, {28, 17}, 2), Block(kPale, {6, 6}, {26, 15}, 1),
                               Line(kBlue, 3, {16, 17}, {16, 26}),
                               Line(kBlue, 3, {4, 26}, {28, 26}), Disc(kBlue, {16, 26}, 3.5)};
constexpr Figure kHome[] = {Block(kPaleSand, {7, 14}, {25, 28}),
                            Block(kInk, {13, 19}, {19, 28}, 0.5), Line(kRed, 4, {4, 16}, {16, 5}),
                            Line(kRed, 4, {16, 5}, {28, 16})};
constexpr Figure kNewFolder[] = {
    Block(kSand, {2, 6}, {15, 14}, 1.5), Block(kSand, {2, 9}, {30, 27}, 1.5),
    Block(kPaleSand, {2, 13}, {30, 27}, 1.5), Line(kGreen, 4, {23, 16}, {23, 28}),
    Line(kGreen, 4, {17, 22}, {29, 22})};
constexpr Figure kUp[] = {Line(kBlue, 5, {16, 27}, {16, 7}), Line(kBlue, 5, {16, 6}, {7, 15}),
                          Line(kBlue, 5, {16, 6}, {25, 15})};
constexpr Figure kStop[] = {Block(kRed, {6, 6}, {26, 26}, 2)};
constexpr Figure kStart[] = {Polygon(kGreen, 1.5, P{9, 6}, P{26, 16}, P{9, 26})};
constexpr Figure kSave[] = {Polygon(kBlue, 1.5, P{5, 5}, P{23, 5}, P{27, 9}, P{27, 27}, P{5, 27}),
                            Block(kWhite, {10, 3.5}, {20, 11}, 0.5),
                            Block(kWhite, {8, 17}, {24, 28.5}, 0.5)};
constexpr Figure kNext[] = {Line(kBlue, 5, {11, 6}, {21, 16}), Line(kBlue, 5, {21, 16}, {11, 26})};
constexpr Figure kPrevious[] = {Line(kBlue, 5, {21, 6}, {11, 16}),
                                Line(kBlue, 5, {11, 16}, {21, 26})};
constexpr Figure kStorage[] = {Block(kInk, {4, 3}, {28, 11}, 2),  Block(kInk, {4, 12}, {28, 20}, 2),
                               Block(kInk, {4, 21}, {28, 29}, 2), Disc(kGreen, {24, 7}, 1.75),
                               Disc(kGreen, {24, 16}, 1.75),      Disc(kGreen, {24, 25}, 1.75)};
constexpr Figure kApplication[] = {Block(kViolet, {2, 2}, {30, 30}, 5), Disc(kWhite, {16, 16}, 10),
                                   Disc(kViolet, {16, 16}, 6), Disc(kPaleSand, {16, 16}, 3),
                                   Line(kWhite, 3, {16, 16}, {25, 7})};
constexpr Figure kInformation[] = {Disc(kBlue, {16, 16}, 15), Disc(kWhite, {16, 9}, 2.25),
                                   Line(kWhite, 4, {16, 15}, {16, 24})};
constexpr Figure kWarning[] = {Polygon(kYellow, 2, P{16, 4}, P{29, 27.5}, P{3, 27.5}),
                               Line(0x3A2A00, 3.5, {16, 11.5}, {16, 18.5}),
                               Disc(0x3A2A00, {16, 24}, 2)};
constexpr Figure kError[] = {Disc(kRed, {16, 16}, 15), Line(kWhite, 4, {10.5, 10.5}, {21.5, 21.5}),
                             Line(kWhite, 4, {21.5, 10.5}, {10.5, 21.5})};
constexpr Figure kQuestion[] = {Disc(kBlue, {16, 16}, 15),
                                Line(kWhite, 3.5, {11, 11.5}, {13, 8.5}),
                                Line(kWhite, 3.5, {13, 8.5}, {18.5, 8.2}),
                                Line(kWhite, 3.5, {18.5, 8.2}, {20.8, 11.5}),
                                Line(kWhite, 3.5, {20.8, 11.5}, {16, 16}),
                                Line(kWhite, 3.5, {16, 16}, {16, 18.5}),
                                Disc(kWhite, {16, 24}, 2.25)};
constexpr Figure kPartition[] = {Disc(kInk, {16, 16}, 14), Disc(kPale, {16, 16}, 12),
                                 Polygon(kBlue, 0, P{16, 16}, P{16, 4}, P{24.5, 7.5}, P{28, 16})};

struct Icon {
  u32 number;
  std::span<const Figure> figures;
};

constexpr Icon kIcons[] = {
    {kIconAccept, kAccept},
    {kIconCancel, kCancel},
    {kIconAdd, kAdd},
    {kIconChoose, kChoose},
    {kIconFolder, kFolder},
    {kIconFile, kFile},
    {kIconDrive, kDrive},
    {kIconDisc, kDisc},
    {kIconNetwork, kNetwork},
    {kIconHome, kHome},
    {kIconNewFolder, kNewFolder},
    {kIconUp, kUp},
    {kIconStop, kStop},
    {kIconStart, kStart},
    {kIconSave, kSave},
    {kIconNext, kNext},
    {kIconPrevious, kPrevious},
    {kIconStorage, kStorage},
    {kIconApplication, kApplication},
    {kIconInformation, kInformation},
    {kIconWarning, kWarning},
    {kIconError, kError},
    {kIconQuestion, kQuestion},
    {kIconPartition, kPartition},
};

double DistanceToSegment(Point p, Point a, Point b) {
  const double dx = b.x - a.x, dy = b.y - a.y;
  const double squared = dx * dx + dy * dy;
  const double along =
      squared > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / squared, 0.0, 1.0) : 0;
  return std::hypot(p.x - a.x - along * dx, p.y - a.y - along * dy);
}

// Whether a ray to the right of `p` crosses the edge from a to b.
bool Crosses(Point p, Point a, Point b) {
  if ((a.y > p.y) == (b.y > p.y)) return false;
  return p.x < a.x + (b.x - a.x) * (p.y - a.y) / (b.y - a.y);
}

// Distance of `p` from the figure's edge in units; negative inside.
double DistanceTo(const Figure& figure, Point p) {
  double nearest = std::numeric_limits<double>::max();
  bool inside = false;
  for (size_t i = 0; i < figure.count; ++i) {
    const Point a = figure.points[i], b = figure.points[(i + 1) % figure.count];
    nearest = std::min(nearest, DistanceToSegment(p, a, b));
    inside ^= figure.count > 2 && Crosses(p, a, b);
  }
  return (inside ? -nearest : nearest) - figure.radius;
}

struct Paint {
  double red = 0, green = 0, blue = 0, alpha = 0;  // colours multiplied by alpha
};

void Cover(Paint& under, u32 colour, double coverage) {
  const double rest = 1 - coverage;
  under.red = under.red * rest + coverage * (colour >> 16 & 0xFF);
  under.green = under.green * rest + coverage * (colour >> 8 & 0xFF);
  under.blue = under.blue * rest + coverage * (colour & 0xFF);
  under.alpha = under.alpha * rest + coverage;
}

u32 Packed(const Paint& paint) {
  if (paint.alpha <= 0) return 0;
  const auto byte = [](double value) { return static_cast<u32>(std::lround(value)); };
  return byte(paint.alpha * 255) << 24 | byte(paint.red / paint.alpha) << 16 |
         byte(paint.green / paint.alpha) << 8 | byte(paint.blue / paint.alpha);
}

u32 PixelAt(std::span<const Figure> figures, Point centre, double pixelsPerUnit) {
  Paint paint;
  for (const Figure& figure : figures) {
    // An edge that runs through a pixel covers it by about its distance from the pixel's centre.
    const double distance = DistanceTo(figure, centre) * pixelsPerUnit;
    Cover(paint, figure.colour, std::clamp(0.5 - distance, 0.0, 1.0));
  }
  return Packed(paint);
}

}  // namespace

std::optional<IconPixels> RenderIcon(u32 number, u32 extent) {
  if (extent == 0 || extent > kLargestExtent) return std::nullopt;
  const auto icon =
      std::find_if(std::begin(kIcons), std::end(kIcons),
                   [number](const Icon& candidate) { return candidate.number == number; });
  if (icon == std::end(kIcons)) return std::nullopt;
  const double pixelsPerUnit = extent / kUnits;
  IconPixels out{extent, {}};
  out.pixels.reserve(size_t{extent} * extent);
  for (u32 y = 0; y < extent; ++y) {
    for (u32 x = 0; x < extent; ++x) {
      const Point centre{(x + 0.5) / pixelsPerUnit, (y + 0.5) / pixelsPerUnit};
      out.pixels.push_back(PixelAt(icon->figures, centre, pixelsPerUnit));
    }
  }
  return out;
}

IconPixels Faded(IconPixels icon) {
  for (u32& pixel : icon.pixels) {
    const u32 red = pixel >> 16 & 0xFF, green = pixel >> 8 & 0xFF, blue = pixel & 0xFF;
    const u32 grey = (red * 3 + green * 6 + blue) / 10;
    pixel = (pixel >> 25) << 24 | grey << 16 | grey << 8 | grey;
  }
  return icon;
}

}  // namespace larkspur
