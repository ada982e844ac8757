// Deleting into the freedesktop.org trash, with HOME and the data folder in a
// temporary folder so the user's own trash is never touched.

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/trash.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;

std::string ReadText(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

class TrashTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(temp_.isValid());
    for (const char* name : {"HOME", "XDG_DATA_HOME"}) {
      const char* value = std::getenv(name);
      saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
    }
    home_ = temp_.path().toStdString() + "/home";
    fs::create_directories(home_);
    ::setenv("HOME", home_.c_str(), 1);
    ::unsetenv("XDG_DATA_HOME");
    work_ = temp_.path().toStdString() + "/work";
    fs::create_directories(work_);
  }
  void TearDown() override {
    for (const auto& [name, value] : saved_) {
      if (value) {
        ::setenv(name.c_str(), value->c_str(), 1);
      } else {
        ::unsetenv(name.c_str());
      }
    }
  }

  std::string MakeFile(const std::string& folder, const std::string& name, const std::string& text) {
    const std::string path = folder + "/" + name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }

  // The file lies in a trash's files/ folder with its .trashinfo beside it,
  // naming where it came from.
  void ExpectInTrash(const TrashResult& r, const std::string& original, const std::string& text) {
    ASSERT_TRUE(r.ok) << original;
    ASSERT_TRUE(fs::path(r.trashPath).is_absolute()) << r.trashPath;
    EXPECT_FALSE(fs::exists(original));
    EXPECT_EQ(fs::path(r.trashPath).parent_path().filename(), "files");
    if (!text.empty()) {
      EXPECT_EQ(ReadText(r.trashPath), text);
    }
    const fs::path info = fs::path(r.trashPath).parent_path().parent_path() / "info" /
                          (fs::path(r.trashPath).filename().string() + ".trashinfo");
    ASSERT_TRUE(fs::exists(info)) << info;
    const std::string infoText = ReadText(info);
    EXPECT_NE(infoText.find("[Trash Info]"), std::string::npos);
    EXPECT_NE(infoText.find("DeletionDate="), std::string::npos);
    EXPECT_NE(infoText.find(fs::path(original).filename().string()), std::string::npos) << infoText;
  }

  QTemporaryDir temp_;
  std::string home_, work_;
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST_F(TrashTest, MissingDataFolderIsCreatedNotTheCurrentFolder) {
  ASSERT_FALSE(fs::exists(home_ + "/.local/share"));
  const fs::path cwd = fs::current_path();
  fs::current_path(work_);
  const std::string file = MakeFile(work_ + "/..", "report.txt", "old output");
  const TrashResult r = TrashDelete(file);
  fs::current_path(cwd);
  ExpectInTrash(r, file, "old output");
  EXPECT_EQ(r.trashPath.rfind(home_ + "/.local/share/Trash/files/", 0), 0u) << r.trashPath;
  EXPECT_FALSE(fs::exists(work_ + "/report.txt"));
}

TEST_F(TrashTest, XdgDataHomeAndSameNamesTwice) {
  const std::string data = temp_.path().toStdString() + "/data/not/yet";
  ::setenv("XDG_DATA_HOME", data.c_str(), 1);
  const TrashResult first = TrashDelete(MakeFile(work_, "a b.txt", "1"));
  const TrashResult second = TrashDelete(MakeFile(work_, "a b.txt", "2"));
  ExpectInTrash(first, work_ + "/a b.txt", "1");
  ExpectInTrash(second, work_ + "/a b.txt", "2");
  EXPECT_NE(first.trashPath, second.trashPath);
  EXPECT_EQ(first.trashPath.rfind(data + "/Trash/files/", 0), 0u) << first.trashPath;
}

TEST_F(TrashTest, FolderWithTrailingSlash) {
  fs::create_directories(work_ + "/dir/sub");
  MakeFile(work_ + "/dir/sub", "x", "x");
  const TrashResult r = TrashDelete(work_ + "/dir/");
  ExpectInTrash(r, work_ + "/dir", "");
  EXPECT_TRUE(fs::exists(fs::path(r.trashPath) / "sub" / "x"));
}

TEST_F(TrashTest, NothingToDo) {
  EXPECT_FALSE(TrashDelete("").ok);
  EXPECT_FALSE(TrashDelete(work_ + "/no such file").ok);
}

TEST_F(TrashTest, FileOnAnotherFileSystem) {
  // /dev/shm is a tmpfs on most systems: a different device from the home folder.
  struct stat homeStat {}, shmStat {};
  if (::stat(home_.c_str(), &homeStat) != 0 || ::stat("/dev/shm", &shmStat) != 0 ||
      homeStat.st_dev == shmStat.st_dev || ::access("/dev/shm", W_OK) != 0) {
    GTEST_SKIP() << "no writable second file system";
  }
  const std::string topTrash = "/dev/shm/.Trash-" + std::to_string(::getuid());
  const bool hadTopTrash = fs::exists(topTrash);
  QTemporaryDir other(QStringLiteral("/dev/shm/ferrox-trash-test-XXXXXX"));
  ASSERT_TRUE(other.isValid());
  const std::string file = MakeFile(other.path().toStdString(), "far.txt", "far away");
  const TrashResult r = TrashDelete(file);
  ExpectInTrash(r, file, "far away");

  // Leave the shared file system as it was.
  if (r.ok) {
    std::error_code ec;
    const fs::path trashDir = fs::path(r.trashPath).parent_path().parent_path();
    fs::remove(trashDir / "info" / (fs::path(r.trashPath).filename().string() + ".trashinfo"), ec);
    fs::remove(r.trashPath, ec);
    if (!hadTopTrash) fs::remove_all(topTrash, ec);
  }
}

}  // namespace
}  // namespace ferrox
