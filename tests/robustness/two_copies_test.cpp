// Two copies of the program on one profile, each with its designer open: a
// save or a delete in one is never lost or misdirected by the other's list
// on screen, which is older than the file.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "app/headless_program.h"

namespace pelmora {
namespace {

struct Copy {
  explicit Copy(const std::string& path) : program(path), designer(program.Start().Designer) {
    program.Event([this] {
      designer.Loaded = true;
      Form2_Form_Load(designer);
    });
  }
  void Event(const std::function<void(Form2&)>& handler) {
    program.Event([this, handler] { handler(designer); });
  }
  void NewGame(const std::string& name) {
    program.runtime.answer = [](const std::string&, int) { return vbNo; };  // keep no words
    Event(Form2_Command1_Click);
    program.runtime.answer = nullptr;  // then Yes to everything
    for (const std::string& box : {name, std::string("word")}) {
      TextBox& into = box == name ? designer.Text1 : *designer.Text(1);
      for (char c : box) Event([&into, c](Form2&) { into.UserType(std::string(1, c)); });
    }
    Event(Form2_Command3_Click);
  }
  HeadlessProgram program;
  Form2& designer;
};

std::vector<std::string> Index(const std::string& path) {
  PosixFileSystem fs;
  ProfileStore store(path, fs);
  return ListGames(store, true);
}

TEST(TwoCopies, NeitherLosesNorMisdirectsTheOthersGames) {
  const std::string folder = std::filesystem::absolute("two-copies").string();
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  const std::string path = folder + "/wsearch.ini";
  std::ofstream(path, std::ios::binary) << "[games]\r\n1=FRUIT\r\n[FRUIT]\r\n1=PEAR\r\n";
  Copy a(path), b(path);

  // Each adds a game while the other's list still shows only FRUIT.
  b.NewGame("Birds");
  a.NewGame("Trees");
  EXPECT_EQ(Index(path), (std::vector<std::string>{"FRUIT", "BIRDS", "TREES"}));

  // B deletes FRUIT; A, whose list still shows it first, then deletes the
  // game it shows second, BIRDS, which now stands first in the file.
  b.Event([](Form2& d) { d.List1.UserSelect(0); });
  b.Event(Form2_Command2_Click);
  a.Event([](Form2& d) { d.List1.UserSelect(1); });
  EXPECT_EQ(a.designer.Text1.Text(), "BIRDS");
  a.Event(Form2_Command2_Click);
  EXPECT_EQ(Index(path), (std::vector<std::string>{"TREES"}));

  // B's list still shows BIRDS, which A deleted meanwhile: deleting it
  // again removes nothing.
  b.Event([](Form2& d) { d.List1.UserSelect(0); });
  EXPECT_EQ(b.designer.Text1.Text(), "BIRDS");
  b.Event(Form2_Command2_Click);
  EXPECT_EQ(Index(path), (std::vector<std::string>{"TREES"}));
}

}  // namespace
}  // namespace pelmora
