#pragma once
// Twips on screen: 1440 to the inch at the screen's logical DPI. Positions
// are rounded edge by edge, so that two controls that touch in twips also
// touch in pixels, whatever the DPI.

#include <QRect>
#include <cmath>

#include "platform/controls.h"

namespace pelmora {

inline constexpr double kTwipsPerInch = 1440.0;

inline double TwipsToPixels(double twips, double dpi) { return twips * dpi / kTwipsPerInch; }
inline double PixelsToTwips(double pixels, double dpi) { return pixels * kTwipsPerInch / dpi; }

inline int TwipsToWholePixels(double twips, double dpi) {
  return static_cast<int>(std::lround(TwipsToPixels(twips, dpi)));
}

inline QRect TwipRectToPixels(const TwipRect& r, double dpi) {
  const int left = TwipsToWholePixels(r.left, dpi);
  const int top = TwipsToWholePixels(r.top, dpi);
  const int right = TwipsToWholePixels(r.left + r.width, dpi);
  const int bottom = TwipsToWholePixels(r.top + r.height, dpi);
  return QRect(left, top, right - left, bottom - top);
}

}  // namespace pelmora
