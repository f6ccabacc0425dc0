#include "profile/ini_document.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/text.h"

namespace pelmora {
namespace {

using namespace std::string_literals;

TEST(IniDocumentRead, FollowsTheRulesOfHandEditedFiles) {
  struct Case {
    std::string bytes, section, key, def, text;
  };
  std::vector<Case> cases = {
      {"[a]\r\nk=1\r\n", "b", "k", "none", "none"},
      {"[a]\r\nk=\r\n", "a", "k", "none", ""},
      {"[a]\r\nk\r\nk=1\r\n", "a", "k", "none", "none"},  // a key with no = reads as absent, and hides the next
      {"[a]\r\nk=" + std::string(30, 'x') + "é€\r\n", "a", "k", "", std::string(30, 'x') + "é"},
      {"[Fruitz]\r\nApplez=1\r\n", "FRUITZ", "appleZ", "none", "1"},
      {"[Été]\r\nÄpfel=1\r\n", "ÉTÉ", "äPFEL", "none", "1"},
      {"[a]\r\nx=1\r\n[A]\r\nx=2\r\ny=3\r\n", "a", "x", "none", "1"},
      {"[a]\r\nx=1\r\n[A]\r\nx=2\r\ny=3\r\n", "a", "y", "none", "none"},
      {"[a]\r\nx=1\r\nX=2\r\n", "a", "x", "none", "1"},
      {"[a]\n\r\n\r\rx=1\r\r\n\n\ny=2", "a", "y", "none", "2"},
      {"\xEF\xBB\xBF[a]\r\nx=1\r\n", "a", "x", "none", "1"},
      {"\t [a] \v\r\n\f x \x1a= \t v  w \x1a\v\r\n", " A\t", " X ", "none", "v  w"},
      {"[a]\r\n[b\r\nx=1\r\n[c]\r\n", "a", "x", "none", "1"},  // [ with no ] is a line of the section before
      {"[a]\r\n[b=5\r\n", "a", "[b", "none", "5"},
      {"[a]b] c\r\nx=1\r\n", "a]b", "x", "none", "1"},
      {"[a]\r\nx = a=b \r\n", "a", "x", "none", "a=b"},
      {"[a]\r\n;x=1\r\nx=2\r\n", "a", ";x", "none", "1"},
      {"x=1\r\n[a]\r\ny=2\r\n", "a", "x", "none", "none"},
      {"[a]\r\nx=\"a b\"\r\n", "a", "x", "none", "a b"},
      {"[a]\r\nx='v\"\r\n", "a", "x", "none", "'v\""},
      {"[a]\r\nx=\"\r\n", "a", "x", "none", "\""},
      {"[a]\r\nx=''\r\n", "a", "x", "none", ""},
      {"[a]\r\nx=\"" + std::string(40, 'y') + "\"\r\n", "a", "x", "", std::string(31, 'y')},
      {"", "a", "x", "\"a b\"  ", "a b"},
      {"", "a", "x", "  x", "  x"},
      {"[a]\r\nx=caf\xE9\r\ny=\xC3\xA9\r\n", "a", "y", "none", "Ã©"},
      {"[\xC9t\xE9]\r\nx=1\r\n", "été", "X", "none", "1"},
      {"[a]\r\nx=1\0 2\r\n"s, "a", "x", "", "1\0 2"s},
  };
  // Sections out of order, and one large enough to be searched by halves,
  // with names out of order and each name twice: the first one wins.
  std::string big = "[Öl]\r\nk=ö\r\n[Äpfel]\r\nk=ä\r\n";
  for (int i = 40; i >= 1; --i) big += "[S" + std::to_string(i) + "]\r\nk=" + std::to_string(i) + "\r\n";
  big += "[Big]\r\n";
  for (int i = 300; i >= 1; --i) big += "k" + std::to_string(i) + "=v" + std::to_string(i) + "\r\n";
  for (int i = 1; i <= 300; ++i) big += "K" + std::to_string(i) + "=late\r\n";
  for (const char* key : {"K1", "k150", "k300", "k7"}) cases.push_back({big, "big", key, "", "v"s + (key + 1)});
  cases.push_back({big, "big", "k301", "none", "none"});
  for (const char* section : {"s1", "S17", "s40"}) cases.push_back({big, section, "k", "", section + 1});
  cases.push_back({big, "öL", "k", "", "ö"});
  for (const Case& c : cases) {
    SCOPED_TRACE(c.bytes.substr(0, 60) + " " + c.section + "/" + c.key);
    const ProfileValue v = IniDocument(c.bytes).Read(c.section, c.key, c.def);
    EXPECT_EQ(v.text, c.text);
    EXPECT_EQ(v.length, static_cast<int>(Len(c.text)));
  }
}

TEST(IniDocumentSet, ChangesOnlyTheLineItWrites) {
  struct Write {
    std::string section, key, value;
  };
  struct Case {
    std::string before;
    std::vector<Write> writes;
    std::string after;
  };
  const std::vector<Case> cases = {
      {"", {{"Setaz", "Visible", "1"}, {"sETAZ", "Time", "0"}}, "[Setaz]\r\nVisible=1\r\nTime=0\r\n"},
      {"[a]\r\nx=1\r\n\r\n[b]\r\ny=2\r\n", {{"a", "z", "3"}}, "[a]\r\nx=1\r\nz=3\r\n\r\n[b]\r\ny=2\r\n"},
      {"[a]\nx=1\n[b]\n", {{"a", "y", "2"}}, "[a]\nx=1\ny=2\r\n[b]\n"},
      {"[a]\r\nx=1", {{"a", "y", "2"}, {"b", "k", "3"}, {"a", "z", "4"}}, "[a]\r\nx=1\r\ny=2\r\nz=4\r\n[b]\r\nk=3\r\n"},
      {"junk", {{"a", "x", "1"}}, "junk\r\n[a]\r\nx=1\r\n"},
      {"\xEF\xBB\xBF;c\n[a]\r  x = 1 \n#n\r\n\r\n y=2\r", {{"A", "X", "9"}}, "\xEF\xBB\xBF;c\n[a]\rx=9\n#n\r\n\r\n y=2\r"},
      {"\xEF\xBB\xBF[a]\r y=2\r\n\n[b]\r", {{"a", "z", "3"}}, "\xEF\xBB\xBF[a]\r y=2\r\nz=3\r\n\n[b]\r"},
      {"[Fruitz]\r\nApplez=1\r\n", {{"FRUITZ", "APPLEZ", "2"}, {"fruitz", "pear", "3"}}, "[Fruitz]\r\nApplez=2\r\npear=3\r\n"},
      {"[a]\r\nx=1\r\ny=2\r\n", {{"a", "x", ""}, {"a", "x", "5"}, {"a", "y", ""}}, "[a]\r\nx=5\r\ny=\r\n"},
      {"[a]\r\nx=1\r\n[b]\r\n[A]\r\ny=2\r\n", {{"a", "y", "3"}}, "[a]\r\nx=1\r\ny=3\r\n[b]\r\n[A]\r\ny=2\r\n"},
      {"[a]\r\n x \r\n", {{"a", "x", "1"}}, "[a]\r\nx=1\r\n"},
      {"", {{" a ", "\tx ", "1\r\n[evil]\r\nk=v"}, {"a]b", "y", "1\0junk"s}}, "[a]\r\nx=1\r\n[a]b]\r\ny=1\r\n"},
      {"[a]\r\nx=é\r\n", {{"a", "y", "ü\xFC"}}, "[a]\r\nx=é\r\ny=üü\r\n"},
      {"[a]\r\nx=caf\xE9\r\n", {{"a", "y", "né"}, {"a", "y", "nè"}}, "[a]\r\nx=caf\xE9\r\ny=n\xE8\r\n"},
      {"[a]\r\nx=caf\xE9\r\n", {{"a", "y", "€"}}, "[a]\r\nx=caf\xC3\xA9\r\ny=\xE2\x82\xAC\r\n"},
      {"[a]\r\nx=\xE9\r\n", {{"Été", "k", "€"}}, "[a]\r\nx=\xC3\xA9\r\n[\xC3\x89t\xC3\xA9]\r\nk=\xE2\x82\xAC\r\n"},
      {"[a]\r\nx=\xE9\r\n", {{"Été", "k", "é"}, {"a", "x", "e"}}, "[a]\r\nx=e\r\n[\xC9t\xE9]\r\nk=\xE9\r\n"},
      {"[a]\r\nx=\xE9\r\ny=1\r\n", {{"a", "y", "ü"}, {"a", "x", "e"}}, "[a]\r\nx=e\r\ny=\xFC\r\n"},
      // The Latin-1 bytes of "Ã©" are the UTF-8 of "é": left so, the text
      // would be read as UTF-8 next time.
      {"[a]\r\nx=\xE9\r\n", {{"a", "x", "Ã©"}}, "[a]\r\nx=\xC3\x83\xC2\xA9\r\n"},
      {"[a]\nx=\"abc\"\r\nlong=" + std::string(40, 'L') + "\rb=\r\n",
       {{"A", "X", "abc"}, {"a", "long", std::string(40, 'L')}, {"a", "b", ""}},
       "[a]\nx=\"abc\"\r\nlong=" + std::string(40, 'L') + "\rb=\r\n"},
      // Names that would read back as something else are refused.
      {"",
       {{" \t", "k", "1"}, {"a", "", "1"}, {"a", "k=v", "1"}, {"a", "[k]", "1"}, {"a\r\nb", "k", "1"}, {"a", "k\nj", "1"},
        {"a", "k\0j"s, "1"}},
       ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.before);
    IniDocument doc(c.before);
    for (const Write& w : c.writes) {
      const std::string prior = doc.Bytes();
      // A write that reports no change is never saved: it must not have made one.
      const bool changed = doc.Set(w.section, w.key, w.value);
      EXPECT_EQ(changed, doc.Bytes() != prior) << w.section << "/" << w.key;
    }
    EXPECT_EQ(doc.Bytes(), c.after);
    // What is read after the writes is what the bytes read afresh give.
    const IniDocument fresh(doc.Bytes());
    for (const Write& w : c.writes) {
      EXPECT_EQ(doc.Read(w.section, w.key, "-").text, fresh.Read(w.section, w.key, "-").text);
    }
  }
}

}  // namespace
}  // namespace pelmora
