#pragma once
// Twips on screen and on paper. On paper a twip is a 1440th of an inch. On
// screen a form is drawn at a scale: at 1:1 one logical pixel (what Qt calls
// a device-independent pixel) is 15 twips, the form's design size; the
// window draws it larger or smaller to fit its client area. Positions are
// rounded edge by edge, so that two controls that touch in twips also touch
// in pixels, whatever the scale.

#include <QRect>
#include <cmath>

#include "platform/controls.h"

namespace pelmora {

inline constexpr double kTwipsPerInch = 1440.0;
inline constexpr double kTwipsPerLogicalPixel = 15.0;

inline double TwipsToPixels(double twips, double dpi) { return twips * dpi / kTwipsPerInch; }

inline int TwipsToWholePixels(double twips, double dpi) {
  return static_cast<int>(std::lround(TwipsToPixels(twips, dpi)));
}

// The same at a form's scale: pixels per logical pixel.
inline int ScaledWholePixels(double twips, double scale) {
  return static_cast<int>(std::lround(twips * scale / kTwipsPerLogicalPixel));
}

inline QRect ScaledTwipRect(const TwipRect& r, double scale) {
  const int left = ScaledWholePixels(r.left, scale);
  const int top = ScaledWholePixels(r.top, scale);
  const int right = ScaledWholePixels(r.left + r.width, scale);
  const int bottom = ScaledWholePixels(r.top + r.height, scale);
  return QRect(left, top, right - left, bottom - top);
}

}  // namespace pelmora
