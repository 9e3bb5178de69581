// Banks that were made to do harm: panel, wave and playing.

#include "tests/panel/PanelTest.h"

#include <QSignalSpy>
#include <QTest>

namespace tessary {
namespace {

using namespace test;

class HostileBank : public PanelTest {
protected:
  /// Looks at the bank, goes through its first entries with the keyboard, zooms into each wave and plays it.
  void goThrough(const Bytes &bank, int entriesToVisit = 6) {
    ImageBuilder image({.sizeBytes = 64 * kMiB});
    FolderBuilder folder = image.root().addFolder("Hostile");
    folder.addFile("HOSTILE", bank, {.e4b0Mark = true});
    mount(image);
    pressPanelKey();
    look("HOSTILE");
    entries()->setFocus();
    for (int entry = 0; entry < entriesToVisit; ++entry) {
      press(Qt::Key_Space);
      for (int i = 0; i < 40; ++i)
        QTest::keyClick(wave(), Qt::Key_Plus);
      EXPECT_TRUE(waitUntilIdle());
      static_cast<void>(wave()->grab());
      press(Qt::Key_Down);
    }
    panel()->grab();
    for (const Sound &sound : heard_.sounds())
      EXPECT_LE(sound.begin + sound.frames * 2, sound.bytes->size());
  }
};

TEST_F(HostileBank, TableOfAMillionEntries) {
  Bytes bank = bytesOf("FORM");
  const auto be32 = [&bank](std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
      bank.push_back(static_cast<std::uint8_t>(value >> shift));
  };
  constexpr std::uint32_t entryCount = 1'000'000;
  be32(0);
  for (const std::uint8_t byte : bytesOf("E4B0TOC1"))
    bank.push_back(byte);
  be32(entryCount * 32);
  Bytes entry = bytesOf("E4S1");
  entry.resize(32, 'x');
  for (std::uint32_t i = 0; i < entryCount; ++i)
    bank.insert(bank.end(), entry.begin(), entry.end());
  for (const std::uint8_t byte : bytesOf("E4S1"))
    bank.push_back(byte);
  be32(8);
  bank.insert(bank.end(), {1, 0, 2, 0, 3, 0, 4, 0});
  goThrough(bank, 3);
  EXPECT_EQ(panel()->model()->rowCount(), static_cast<int>(entryCount) + 1);
  press(Qt::Key_End);
  EXPECT_EQ(entries()->currentIndex().row(), static_cast<int>(entryCount));
}

TEST_F(HostileBank, ChunkThatEndsOutside) {
  goThrough(IffBank()
                .toc({.type = "E4S1", .name = "Outside"})
                .chunk("E4S1", patternBytes(100), 0x7FFFFFF0)
                .build());
  ASSERT_FALSE(heard_.sounds().empty());
  EXPECT_EQ(heard_.sounds().front().frames, 50U) << "as far as the contents go, in whole frames";
}

TEST_F(HostileBank, ChunkOfTheLargestSize) {
  goThrough(
      IffBank().toc({.type = "E4S1", .name = "Largest"}).chunk("E4S1", patternBytes(10), 0xFFFFFFFF).build());
  EXPECT_EQ(wave()->frames(), 5U);
}

TEST_F(HostileBank, ChunkOfNoBytes) {
  goThrough(IffBank().toc({.type = "E4S1", .name = "Empty"}).chunk("E4S1", {}).build());
  EXPECT_EQ(wave()->frames(), 0U);
}

TEST_F(HostileBank, ChunkInsideAnother) {
  // The first chunk's size leads into the middle of its own data, where another header stands.
  Bytes inner = bytesOf("E4S2");
  inner.insert(inner.end(), {0, 0, 0x40, 0, 1, 2, 3, 4});
  goThrough(IffBank()
                .toc({.type = "E4S1", .name = "Outer"})
                .toc({.type = "E4S2", .name = "Inner"})
                .chunk("E4S1", inner, 0)
                .build());
}

TEST_F(HostileBank, NamesOfControlCharactersAndMarkup) {
  goThrough(IffBank()
                .preset("<img src=x>")
                .sample("\x01\x02\n\r\t\x7F", patternBytes(64), "E4S1")
                .sample("<b>&amp;</b>", patternBytes(64), "E4S2")
                .sample("\xFF\xFE", patternBytes(64), "E4S3")
                .build());
}

TEST_F(HostileBank, SampleWithoutAChunkSaysSo) {
  goThrough(IffBank().toc({.type = "E4S9", .name = "Missing"}).build(), 1);
  EXPECT_EQ(wave()->accessibleName(), "The audio of this sample cannot be read.");
  EXPECT_TRUE(heard_.sounds().empty());
}

TEST_F(HostileBank, WholeBankOfNonsense) {
  Bytes bank = patternBytes(200'000, 77);
  const Bytes head = bytesOf("FORM\xFF\xFF\xFF\xFF"
                             "E4B0TOC1\xFF\xFF\xFF\xEB");
  std::copy(head.begin(), head.end(), bank.begin());
  goThrough(bank);
}

} // namespace
} // namespace tessary
