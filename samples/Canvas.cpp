#include "samples/Canvas.h"

#include <algorithm>
#include <cmath>

namespace {

std::uint8_t level(double value) {
  return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

constexpr int kWhole = 1024;

/// Part `part` of `kWhole` of the colour over what is there.
std::uint8_t mixed(std::uint8_t there, double colour, int part) {
  const int wanted = static_cast<int>(colour * 255);
  return static_cast<std::uint8_t>((there * (kWhole - part) + wanted * part + kWhole / 2) / kWhole);
}

double between(double from, double to, double share) { return from + (to - from) * share; }

/// How far a point lies inside the edge that runs from 1 to 2, with the inside on its right.
double insideEdge(double x, double y, double x1, double y1, double x2, double y2) {
  return ((x2 - x1) * (y - y1) - (y2 - y1) * (x - x1)) / std::hypot(x2 - x1, y2 - y1);
}

}  // namespace

PDXSampleCanvas::PDXSampleCanvas(int width, int height)
    : raster_{width, height,
              PDXBytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3)},
      scale_(height),
      width_(static_cast<double>(width) / height) {}

void PDXSampleCanvas::gradient(const PDXSampleColour& top, const PDXSampleColour& bottom) {
  std::uint8_t* pixel = raster_.pixels.data();
  for (int y = 0; y < raster_.height; ++y) {
    const double share = y / scale_;
    const std::uint8_t row[] = {level(between(top.red, bottom.red, share)),
                                level(between(top.green, bottom.green, share)),
                                level(between(top.blue, bottom.blue, share))};
    for (int x = 0; x < raster_.width; ++x) {
      for (const std::uint8_t part : row) *pixel++ = part;
    }
  }
}

void PDXSampleCanvas::disc(double x, double y, double radius, const PDXSampleColour& colour, double opacity) {
  blend_(x - radius, y - radius, x + radius, y + radius, colour, opacity,
         [=](double px, double py) { return radius - std::hypot(px - x, py - y); });
}

void PDXSampleCanvas::ellipse(double x, double y, double radiusX, double radiusY,
                              const PDXSampleColour& colour) {
  blend_(x - radiusX, y - radiusY, x + radiusX, y + radiusY, colour, 1, [=](double px, double py) {
    return (1 - std::hypot((px - x) / radiusX, (py - y) / radiusY)) * std::min(radiusX, radiusY);
  });
}

void PDXSampleCanvas::rectangle(double left, double top, double width, double height,
                                const PDXSampleColour& colour) {
  const double right = left + width;
  const double bottom = top + height;
  blend_(left, top, right, bottom, colour, 1, [=](double x, double y) {
    return std::min({x - left, right - x, y - top, bottom - y});
  });
}

void PDXSampleCanvas::triangle(double x1, double y1, double x2, double y2, double x3, double y3,
                               const PDXSampleColour& colour) {
  const double turn = insideEdge(x3, y3, x1, y1, x2, y2) < 0 ? -1 : 1;
  blend_(std::min({x1, x2, x3}), std::min({y1, y2, y3}), std::max({x1, x2, x3}), std::max({y1, y2, y3}),
         colour, 1, [=](double x, double y) {
           return std::min({turn * insideEdge(x, y, x1, y1, x2, y2), turn * insideEdge(x, y, x2, y2, x3, y3),
                            turn * insideEdge(x, y, x3, y3, x1, y1)});
         });
}

void PDXSampleCanvas::below(const std::function<double(double)>& top, const PDXSampleColour& colour) {
  for (int x = 0; x < raster_.width; ++x) {
    const double edge = top((x + 0.5) / scale_) * scale_;
    for (int y = pixel_(edge / scale_, raster_.height); y < raster_.height; ++y) {
      mix_(x, y, colour, y + 1 - edge);
    }
  }
}

template <typename Depth>
void PDXSampleCanvas::blend_(double left, double top, double right, double bottom,
                             const PDXSampleColour& colour, double opacity, Depth depth) {
  const int lastX = pixel_(right + 1 / scale_, raster_.width);
  const int lastY = pixel_(bottom + 1 / scale_, raster_.height);
  for (int y = pixel_(top, raster_.height); y < lastY; ++y) {
    for (int x = pixel_(left, raster_.width); x < lastX; ++x) {
      const double inside = depth((x + 0.5) / scale_, (y + 0.5) / scale_) * scale_ + 0.5;
      mix_(x, y, colour, std::clamp(inside, 0.0, 1.0) * opacity);
    }
  }
}

void PDXSampleCanvas::mix_(int x, int y, const PDXSampleColour& colour, double share) {
  if (share <= 0) return;
  const std::size_t at =
      (static_cast<std::size_t>(y) * static_cast<std::size_t>(raster_.width) + static_cast<std::size_t>(x)) *
      3;
  std::uint8_t* pixel = raster_.pixels.data() + at;
  const int part = share < 1 ? static_cast<int>(share * kWhole) : kWhole;
  pixel[0] = mixed(pixel[0], colour.red, part);
  pixel[1] = mixed(pixel[1], colour.green, part);
  pixel[2] = mixed(pixel[2], colour.blue, part);
}

int PDXSampleCanvas::pixel_(double place, int limit) const {
  return static_cast<int>(std::clamp(std::floor(place * scale_), 0.0, static_cast<double>(limit)));
}
