#pragma once

#include <functional>

#include "platform/Images.h"

/// Red, green and blue from 0 to 1.
struct PDXSampleColour {
  double red = 0;
  double green = 0;
  double blue = 0;
};

/// Draws shapes with smooth edges. Lengths and places count in heights of the picture, from its upper left
/// corner, so that a scene looks the same in every size.
class PDXSampleCanvas {
 public:
  PDXSampleCanvas(int width, int height);

  /// The width of the picture in heights.
  double width() const { return width_; }

  /// Fills the picture from one colour at the top to another at the bottom.
  void gradient(const PDXSampleColour& top, const PDXSampleColour& bottom);

  /// @param opacity  from 0 to 1.
  void disc(double x, double y, double radius, const PDXSampleColour& colour, double opacity = 1);
  void ellipse(double x, double y, double radiusX, double radiusY, const PDXSampleColour& colour);
  void rectangle(double left, double top, double width, double height, const PDXSampleColour& colour);
  void triangle(double x1, double y1, double x2, double y2, double x3, double y3,
                const PDXSampleColour& colour);

  /// Everything below the line that `top` gives for each x.
  void below(const std::function<double(double)>& top, const PDXSampleColour& colour);

  PDXRaster take() { return std::move(raster_); }

 private:
  /// Blends the colour into the pixels of a box, each as far as `depth` says that it lies inside: in heights,
  /// negative outside.
  template <typename Depth>
  void blend_(double left, double top, double right, double bottom, const PDXSampleColour& colour,
              double opacity, Depth depth);
  void mix_(int x, int y, const PDXSampleColour& colour, double share);
  int pixel_(double place, int limit) const;

  PDXRaster raster_;
  double scale_;
  double width_;
};
