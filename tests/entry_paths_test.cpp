// Splitting path boxes, the path helpers and wildcard listing.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "app/entry_list.h"
#include "app/folder_listing.h"
#include "app/path_helpers.h"

namespace ferrox {
namespace {

using Names = std::vector<std::string>;

struct SplitCase {
  const char* text;
  Names names;
};

TEST(CommaToDim, SplitsAsTheBoxesAreRead) {
  const SplitCase cases[] = {
      {"", {}},
      {"   \t ", {}},
      {"/a/b.txt", {"/a/b.txt"}},
      {"  /a/b c.txt  ", {"/a/b c.txt"}},
      {"\"/a/x\", \"/a/y\"", {"/a/x", "/a/y"}},
      {"\"/a/x\",\"/a/y\",\"/a/z\"", {"/a/x", "/a/y", "/a/z"}},
      {"\"/a/x,y\",\"/b\"", {"/a/x,y", "/b"}},          // a quoted name may hold commas
      {"\"/a/no end", {"/a/no end"}},                     // no closing quote: runs to the end
      {"\"/a/x\" \"/a/y\"", {"/a/x"}},                    // no comma: the rest is ignored
      {"\"/a/x\",", {"/a/x"}},                            // trailing comma adds nothing
      {"a , b", {"a", "b"}},                              // unquoted names are trimmed
      {"a,,b", {"a", "", "b"}},                           // an empty name between commas stays
      {", a", {"", "a"}},
      {"\"\"", {""}},
      {"\"/日本/ｶﾅ.txt\" , \"/b\"", {"/日本/ｶﾅ.txt", "/b"}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CommaToDim(c.text), c.names) << "text: [" << c.text << "]";
  }
}

TEST(CommaToDim, QuotedListReadsBack) {
  const Names names = {"/a/x y", "/a/b,c", "/日本語"};
  EXPECT_EQ(CommaToDim(QuotedList(names)), names);
}

struct PathCase {
  const char* path;
  const char* root;
  const char* parent;
  const char* withoutExtension;
};

TEST(PathHelpers, SplitPathsWithoutTouchingFiles) {
  const PathCase cases[] = {
      {"/a/b/c.txt", "/", "/a/b", "/a/b/c"},
      {"/a/x.d/f", "/", "/a/x.d", "/a/x.d/f"},  // a dot in the folder only
      {"/f.tar.gz", "/", "/", "/f.tar"},
      {"/", "/", "/", "/"},
      {"/a/", "/", "/a", "/a/"},
      {"/a/.profile", "/", "/a", "/a/.profile"},  // a hidden name has no extension
      {"/a/.cfg.old", "/", "/a", "/a/.cfg"},
      {"/a/b.", "/", "/a", "/a/b"},
      {"c.txt", "", "", "c"},  // relative: no root, no parent
      {"d/*.txt", "", "", "d/*"},
      {"", "", "", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(GetPathRoot(c.path), c.root) << c.path;
    EXPECT_EQ(GetParentFolder(c.path), c.parent) << c.path;
    EXPECT_EQ(GetNameWithoutExtension(c.path), c.withoutExtension) << c.path;
  }
}

TEST(PathHelpers, AddPathSeparatorAndNormalizeEntry) {
  const std::pair<const char*, const char*> separators[] = {
      {"/a/b", "/a/b/"}, {"/a/b/", "/a/b/"}, {"   ", ""}, {"", ""}, {" /a ", "/a/"}, {"/", "/"}};
  for (const auto& [in, out] : separators) EXPECT_EQ(AddPathSeparator(in), out) << in;

  const std::pair<const char*, const char*> entries[] = {
      {"  /a/b  ", "/a/b"},  {"/a/b///", "/a/b"}, {"/", "/"},     {"\"/a b/c\"", "/a b/c"},
      {"\"/x\",\"/y\"", "/x"}, {"  ", ""},          {"./f", "./f"}, {"/a/../b", "/a/../b"}};
  for (const auto& [in, out] : entries) EXPECT_EQ(NormalizeEntry(in), out) << in;

  EXPECT_TRUE(HasWildcard("/a/*.txt"));
  EXPECT_TRUE(HasWildcard("/a/?"));
  EXPECT_FALSE(HasWildcard("/a/b"));
  EXPECT_EQ(MakeAbsolute("x/y", "/w"), "/w/x/y");
  EXPECT_EQ(MakeAbsolute("../y", "/w/"), "/w/../y");
  EXPECT_EQ(MakeAbsolute("/abs", "/w"), "/abs");
}

class TempTree : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/ferrox-paths-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    root_ = pattern;
  }
  void TearDown() override { std::filesystem::remove_all(root_); }
  void Touch(const std::string& relative) const { std::ofstream(root_ + "/" + relative) << "x"; }
  std::string root_;
};

TEST_F(TempTree, FileAndFolderTests) {
  Touch("f");
  std::filesystem::create_directory(root_ + "/d");
  std::filesystem::create_symlink(root_ + "/f", root_ + "/lf");
  std::filesystem::create_symlink(root_ + "/d", root_ + "/ld");
  std::filesystem::create_symlink(root_ + "/missing", root_ + "/dangling");
  struct Case {
    const char* name;
    bool exists, folder, file;
  };
  const Case cases[] = {{"f", true, false, true},    {"d", true, true, false},
                        {"lf", true, false, true},   {"ld", true, true, false},
                        {"none", false, false, false}, {"dangling", false, false, false}};
  for (const auto& c : cases) {
    const std::string path = root_ + "/" + c.name;
    EXPECT_EQ(FileExists(path), c.exists) << c.name;
    EXPECT_EQ(IsFolder(path), c.folder) << c.name;
    EXPECT_EQ(IsFile(path), c.file) << c.name;
  }
}

TEST_F(TempTree, MakeFolderCreatesEveryLevel) {
  EXPECT_TRUE(MakeFolder(root_ + "/a/b/c"));
  EXPECT_TRUE(IsFolder(root_ + "/a/b/c"));
  EXPECT_TRUE(MakeFolder(root_ + "/a/b/c"));  // already there
  EXPECT_TRUE(MakeFolder(root_ + "/a/b/c/"));
  Touch("file");
  EXPECT_FALSE(MakeFolder(root_ + "/file/sub"));  // a file in the way
  EXPECT_FALSE(MakeFolder(root_ + "/file"));
}

TEST_F(TempTree, IsOtherFileKnowsEverySpellingOfOneFile) {
  std::filesystem::create_directory(root_ + "/dir");
  Touch("dir/file");
  Touch("dir/other");
  std::filesystem::create_symlink(root_ + "/dir/file", root_ + "/link");
  std::filesystem::create_hard_link(root_ + "/dir/file", root_ + "/hard");
  const std::string file = root_ + "/dir/file";
  const std::string same[] = {root_ + "/dir/../dir/file", root_ + "/dir/./file", root_ + "/link",
                              root_ + "/hard", root_ + "/DIR/FILE", root_ + "//dir/file"};
  for (const auto& spelling : same) EXPECT_EQ(IsOtherFile(file, spelling), 0) << spelling;
  EXPECT_NE(IsOtherFile(file, root_ + "/dir/other"), 0);
  EXPECT_NE(IsOtherFile(file, root_ + "/dir/missing"), 0);
  // Full-width letters are not folded: only ASCII case is.
  EXPECT_NE(IsOtherFile(root_ + "/ａ", root_ + "/Ａ"), 0);
  EXPECT_EQ(IsOtherFile(root_ + "/Ab.TXT", root_ + "/aB.txt"), 0);

  const std::string cwd = CurrentFolder();
  ASSERT_EQ(::chdir((root_ + "/dir").c_str()), 0);
  EXPECT_EQ(IsOtherFile(file, "./file"), 0);
  EXPECT_EQ(IsOtherFile(file, "file"), 0);
  ASSERT_EQ(::chdir(cwd.c_str()), 0);
}

TEST(Wildcard, Matches) {
  struct Case {
    const char* pattern;
    const char* name;
    bool match;
  };
  const Case cases[] = {
      {"*.txt", "a.txt", true},     {"*.txt", "a.TXT", true},   {"*.txt", "a.txt.gz", false},
      {"*.*", "noext", true},       {"a?c", "abc", true},       {"a?c", "ac", false},
      {"a?c", "a日c", true},        {"*", ".hidden", true},     {"*a*b", "xxaxxb", true},
      {"*a*b", "xxaxxbx", false},   {"?", "", false},           {"日本*", "日本語.txt", true},
      {"**.md", "x.md", true},      {"x", "X", true},           {"[ab]", "a", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(WildcardMatch(c.pattern, c.name), c.match) << c.pattern << " ~ " << c.name;
  }
}

TEST_F(TempTree, ListFolderSortsAndSkipsWhatCannotBeWalked) {
  for (const char* name : {"b.txt", "a.txt", ".h.txt", "c.bin"}) Touch(name);
  std::filesystem::create_directory(root_ + "/sub.txt");
  std::filesystem::create_symlink(root_ + "/a.txt", root_ + "/la.txt");
  std::filesystem::create_symlink(root_ + "/sub.txt", root_ + "/lsub.txt");
  ASSERT_EQ(::mkfifo((root_ + "/pipe.txt").c_str(), 0600), 0);

  const FolderListing all = ListFolder(root_);
  EXPECT_EQ(all.files, (Names{".h.txt", "a.txt", "b.txt", "c.bin", "la.txt"}));
  EXPECT_EQ(all.folders, (Names{"sub.txt"}));

  const FolderListing txt = ListFolder(root_, "*.txt");
  EXPECT_EQ(txt.files, (Names{".h.txt", "a.txt", "b.txt", "la.txt"}));
  EXPECT_EQ(txt.folders, (Names{"sub.txt"}));

  EXPECT_TRUE(ListFolder(root_ + "/none").files.empty());
}

}  // namespace
}  // namespace ferrox
