#include "foundation/replacement.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>
#include <csignal>

#include <array>
#include <filesystem>

#include "support/tools.h"

namespace terrain {
namespace {

namespace fs = std::filesystem;

class Replacing : public ::testing::Test {
 protected:
  std::string at(std::string_view name) const { return dir_.path(name); }
  void store(std::string_view name, std::string_view text) const { test::writeBytes(at(name), text); }
  std::string held(std::string_view name) const { return test::readBytes(at(name)); }
  std::size_t files() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(dir_.path()), {}));
  }

 private:
  test::ScratchDir dir_;
};

TEST_F(Replacing, OlderFileStaysUntilTheNewOneIsWhole) {
  store("a", "older");
  ::chmod(at("a").c_str(), 0640);
  store("a.part1", "somebody else's");
  {
    Replacement file;
    ASSERT_EQ(file.open(at("a")), kIoOk);
    EXPECT_EQ(file.temporaryName(), at("a.part2"));
    file.text().writeLine("half");
    file.text().flush();
    EXPECT_EQ(held("a"), "older");
  }
  EXPECT_EQ(files(), 2u);
  Replacement file;
  ASSERT_EQ(file.open(at("a")), kIoOk);
  file.text().writeLine("new");
  ASSERT_EQ(file.commit(), kIoOk);
  EXPECT_EQ(held("a"), "new\n");
  EXPECT_EQ(held("a.part1"), "somebody else's");
  EXPECT_EQ(files(), 2u);
  EXPECT_EQ(fs::status(at("a")).permissions(), fs::perms{0640});
  EXPECT_NE(file.commit(), kIoOk);  // once
}

TEST_F(Replacing, LinksAreFollowed) {
  fs::create_directory(at("d"));
  store("d/real", "older");
  fs::create_symlink("d/real", at("link"));
  fs::create_symlink("link", at("chain"));
  fs::create_symlink("d/none", at("dangling"));
  fs::create_symlink("loop", at("loop"));
  for (const std::string name : {"chain", "dangling"}) {
    Replacement file;
    ASSERT_EQ(file.open(at(name)), kIoOk);
    file.text().writeLine(name);
    ASSERT_EQ(file.commit(), kIoOk);
    EXPECT_TRUE(fs::is_symlink(at(name)));
  }
  EXPECT_EQ(held("d/real"), "chain\n");
  EXPECT_EQ(held("d/none"), "dangling\n");
  EXPECT_GT(platform::canReplace(at("loop")), kIoHost);
}

TEST_F(Replacing, WhatCannotBeReplacedIsKnownBefore) {
  fs::create_directory(at("d"));
  fs::create_symlink("/dev/null", at("device"));
  EXPECT_EQ(platform::canReplace(at("d")), kIoNotAFile);
  EXPECT_EQ(platform::canReplace(at("device")), kIoNotAFile);
  EXPECT_EQ(platform::canReplace(at("none/a")), kIoNotFound);
  EXPECT_EQ(platform::canReplace(at("a")), kIoOk);
  const std::string cut = at(std::string("mine\0.flt", 9));  // the host would take it for "mine"
  store("mine", "");
  EXPECT_EQ(platform::canReplace(cut), kIoBadName);
  EXPECT_EQ(platform::removeFile(cut), kIoBadName);
  EXPECT_FALSE(platform::fileExists(cut) || platform::isDirectory(cut) ||
               platform::sameFile(cut, at("mine")));
  EXPECT_TRUE(platform::fileExists(at("mine")));
  Replacement file;
  EXPECT_EQ(file.open(at("d")), kIoNotAFile);
  EXPECT_EQ(file.openRemoval(at("d")), kIoNotAFile);

  ::chmod(at("mine").c_str(), 0666);
  fs::permissions(at(""), fs::perms{01777});
  store("d/locked", "");
  const auto asNobody = [&] {
    if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) std::_Exit(1);
    const bool otherOwner = fs::status(at("mine")).permissions() == fs::perms{0666} && ::geteuid() == 65534;
    std::_Exit(platform::canReplace(at("d/new")) == kIoAccessDenied &&
                       platform::canReplace(at("mine")) == (otherOwner ? kIoAccessDenied : kIoOk) &&
                       platform::canReplace(at("new")) == kIoOk
                   ? 0
                   : 2);
  };
  fs::permissions(at("d"), fs::perms{0555});
  EXPECT_EXIT(asNobody(), ::testing::ExitedWithCode(0), "");
  fs::permissions(at("d"), fs::perms{0755});
}

TEST_F(Replacing, InterruptionLeavesTheOlderFileAndTheLastWords) {
  store("a", "older");
  const auto interrupted = [&](int signal) {
    std::signal(signal, SIG_DFL);  // the tests may have been started to ignore it
    platform::handleInterruptions();
    static platform::File log;  // a hook has no other state than what outlives the handler
    static_cast<void>(log.open(at("log"), platform::Open::replace));
    platform::setInterruptionHook({.call = [](void*) {
      constexpr std::string_view words = "last words";
      static_cast<void>(log.writeAt(log.size(), std::as_bytes(std::span(words))));
    }});
    Replacement file;
    int32_t unit = 0;
    std::string lost;
    OpenBinaryScratchFile({.unit = &unit, .fileName = &lost});
    platform::removeFile(lost);
    test::writeBytes(lost, "another's");  // took the name of a scratch file
    OpenBinaryScratchFile({.unit = &unit});
    if (file.open(at("a")) == kIoOk) std::raise(signal);
    std::_Exit(1);
  };
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EXIT(interrupted(signal), ::testing::KilledBySignal(signal), "");
    EXPECT_EQ(held("a") + held("log") + held("Scratch0"), "olderlast wordsanother's");
    EXPECT_EQ(files(), 3u);
    platform::removeFile(at("Scratch0"));
  }
}

TEST_F(Replacing, FullDiskLeavesTheOlderFiles) {
  store("a", "older");
  store("b", "older");
  const auto onFullDisk = [&] {
    const test::FileSizeLimit limit(100);
    Replacement a;
    Replacement b;
    if (a.open(at("a")) != kIoOk || b.open(at("b")) != kIoOk) std::_Exit(1);
    a.text().writeLine("new");
    b.text().write(std::string(200, 'x'));
    const Replacement* failed = nullptr;
    const IoCode code = commitTogether(std::array{&a, &b}, &failed);
    std::_Exit(code != kIoOk && failed == &b && failed->target() == at("b") ? 0 : 2);
  };
  EXPECT_EXIT(onFullDisk(), ::testing::ExitedWithCode(0), "");
  EXPECT_EQ(held("a") + held("b"), "olderolder");
  EXPECT_EQ(files(), 2u);
}

TEST_F(Replacing, FilesCommittedTogetherGoInAllOrNone) {
  store("cells", "older");
  store("side", "older");
  const auto attempt = [&](bool spoil) {
    Replacement cells;
    Replacement fresh;
    Replacement side;
    Replacement header;
    EXPECT_EQ(cells.open(at("cells")) + fresh.open(at("fresh")) + side.openRemoval(at("side")), kIoOk);
    EXPECT_EQ(header.open(at("header")), kIoOk);
    cells.text().write("new");
    if (spoil) fs::create_directories(at("header/x"));  // the last cannot take its place
    return commitTogether(std::array{&cells, &fresh, &side, &header});
  };
  EXPECT_NE(attempt(true), kIoOk);
  EXPECT_EQ(held("cells") + held("side"), "olderolder");
  EXPECT_FALSE(fs::exists(at("fresh")));
  EXPECT_EQ(files(), 3u);
  fs::remove_all(at("header"));
  EXPECT_EQ(attempt(false), kIoOk);
  EXPECT_EQ(held("cells"), "new");
  EXPECT_FALSE(fs::exists(at("side")));
  EXPECT_EQ(files(), 3u);
}

}  // namespace
}  // namespace terrain
