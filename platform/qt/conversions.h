#pragma once
// The program's values as Qt takes them: text held as UTF-8 in std::string,
// colours as 0xRRGGBB.

#include <QColor>
#include <QString>
#include <cstdint>
#include <string_view>

namespace pelmora {

inline QString ToQString(std::string_view s) {
  return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

inline QColor FromRgb(std::uint32_t rgb) {
  return QColor(static_cast<int>((rgb >> 16) & 0xFF), static_cast<int>((rgb >> 8) & 0xFF),
                static_cast<int>(rgb & 0xFF));
}

}  // namespace pelmora
