#include "tools/pelmora-script/json.h"

#include <cstdio>

#include "platform/event_door.h"
#include "platform/text.h"

namespace pelmora {

namespace {
[[noreturn]] void Fail(const std::string& why) { throw RunAborted{2, why}; }
}  // namespace

std::string JsonString(std::string_view text) {
  std::string out = "\"";
  for (char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\b': out += "\\b"; break;
      case '\f': out += "\\f"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (c < 0x20) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\u%04x", c);
          out += buf;
        } else {
          out += ch;
        }
    }
  }
  return out + "\"";
}

std::string JsonArray(const std::vector<std::string>& items) {
  std::string out = "[";
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) out += ',';
    out += JsonString(items[i]);
  }
  return out + "]";
}

std::string ParseJsonString(const std::string& s, std::size_t& i) {
  std::string out;
  auto hex4 = [&](std::size_t at) -> char32_t {
    if (at + 4 > s.size()) Fail("bad \\u escape in a string");
    char32_t v = 0;
    for (std::size_t k = at; k < at + 4; ++k) {
      const char h = s[k];
      v <<= 4;
      if (h >= '0' && h <= '9') v |= static_cast<char32_t>(h - '0');
      else if (h >= 'a' && h <= 'f') v |= static_cast<char32_t>(h - 'a' + 10);
      else if (h >= 'A' && h <= 'F') v |= static_cast<char32_t>(h - 'A' + 10);
      else Fail("bad \\u escape in a string");
    }
    return v;
  };
  ++i;
  while (true) {
    if (i >= s.size()) Fail("a string with no closing quote");
    const char c = s[i++];
    if (c == '"') return out;
    if (static_cast<unsigned char>(c) < 0x20) Fail("a control character in a string");
    if (c != '\\') {
      out += c;
      continue;
    }
    if (i >= s.size()) Fail("a string with no closing quote");
    const char e = s[i++];
    switch (e) {
      case '"': out += '"'; break;
      case '\\': out += '\\'; break;
      case '/': out += '/'; break;
      case 'b': out += '\b'; break;
      case 'f': out += '\f'; break;
      case 'n': out += '\n'; break;
      case 'r': out += '\r'; break;
      case 't': out += '\t'; break;
      case 'u': {
        char32_t cp = hex4(i);
        i += 4;
        if (cp >= 0xD800 && cp <= 0xDBFF) {
          if (i + 6 > s.size() || s[i] != '\\' || s[i + 1] != 'u') Fail("a lone surrogate in a string");
          const char32_t low = hex4(i + 2);
          if (low < 0xDC00 || low > 0xDFFF) Fail("a lone surrogate in a string");
          i += 6;
          cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
        } else if (cp >= 0xDC00 && cp <= 0xDFFF) {
          Fail("a lone surrogate in a string");
        }
        AppendUtf8(cp, out);
        break;
      }
      default: Fail(std::string("bad escape \\") + e + " in a string");
    }
  }
}

}  // namespace pelmora
