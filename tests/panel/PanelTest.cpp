#include "tests/panel/PanelTest.h"

#include <QApplication>
#include <QTest>
#include <stdexcept>

namespace tessary::test {
namespace {

class ListeningOutput final : public AudioOutput {
public:
  explicit ListeningOutput(std::shared_ptr<Heard> heard) : heard_(std::move(heard)) {}

  bool play(const Sound &sound, const std::function<bool()> &isWanted, QString *problem) override {
    if (!heard_->hasDevice) {
      *problem = QStringLiteral("No sound device was found.");
      return false;
    }
    if (!isWanted()) return false;
    heard_->position = sound.start;
    heard_->hasEnded = false;
    heard_->add(sound);
    heard_->isPlaying = true;
    return true;
  }
  void stop() override {
    ++heard_->stops;
    heard_->isPlaying = false;
  }
  void setVolume(float volume) override { heard_->volume = volume; }
  std::uint64_t position() const override { return heard_->position; }
  bool hasEnded() const override { return heard_->hasEnded; }

private:
  const std::shared_ptr<Heard> heard_;
};

} // namespace

void Heard::add(const Sound &sound) {
  const std::lock_guard lock(mutex_);
  sounds_.push_back(sound);
}

std::vector<Sound> Heard::sounds() const {
  const std::lock_guard lock(mutex_);
  return sounds_;
}

ListenedTo::ListenedTo() {
  setAudioOutputMaker([heard = heard] { return std::make_unique<ListeningOutput>(heard); });
}

ListenedTo::~ListenedTo() {
  setAudioOutputMaker({});
}

PanelTest::~PanelTest() {
  EXPECT_TRUE(waitUntilIdle());
}

QString PanelTest::labelText(const char *name) const {
  const auto *label = panel()->findChild<QLabel *>(QLatin1String(name));
  return label->isVisible() ? label->text() : QString();
}

void PanelTest::pressPanelKey() const {
  pressKeyIn(window(), Qt::Key_B, Qt::ControlModifier);
  EXPECT_TRUE(waitUntilIdle());
}

void PanelTest::look(const QString &file) {
  chooseFiles({file});
  ASSERT_TRUE(waitUntilIdle());
}

QStringList PanelTest::entryRows() const {
  QStringList rows;
  for (int row = 0; row < panel()->model()->rowCount(); ++row)
    rows += rowTexts(*panel()->model(), row).join(QLatin1Char('|'));
  return rows;
}

void PanelTest::chooseEntry(const QString &name, Qt::KeyboardModifiers modifiers) const {
  for (int row = 0; row < panel()->model()->rowCount(); ++row) {
    if (panel()->model()->nameAt(row) != name) continue;
    clickRow(entries(), panel()->model()->index(row, 0), Qt::LeftButton, modifiers);
    EXPECT_TRUE(waitUntilIdle());
    return;
  }
  throw std::runtime_error("the panel does not list " + name.toStdString());
}

QString PanelTest::chosenEntry() const {
  return panel()->model()->nameAt(entries()->currentIndex().row());
}

void PanelTest::press(Qt::Key key, Qt::KeyboardModifiers modifiers) const {
  pressKeyIn(window(), key, modifiers);
  EXPECT_TRUE(waitUntilIdle());
}

void PanelTest::chooseRate(std::uint32_t rate) const {
  auto *box = panel()->findChild<QComboBox *>(QStringLiteral("SampleRate"));
  const int place = box->findData(rate);
  if (place < 0) throw std::runtime_error("the rate is not offered");
  box->setFocus();
  while (box->currentIndex() > place)
    QTest::keyClick(box, Qt::Key_Up);
  while (box->currentIndex() < place)
    QTest::keyClick(box, Qt::Key_Down);
  EXPECT_TRUE(waitUntilIdle());
}

Bytes kickAudio() {
  return patternBytes(441 * 2, 11);
}

Bytes snareAudio() {
  return patternBytes(882 * 2, 12);
}

Bytes kitBank() {
  return IffBank()
      .preset("Kit")
      .preset("Kit Soft")
      .sample("Kick", kickAudio(), "E4S1")
      .sample("Snare", snareAudio(), "E4S2")
      .sample("Kick Long", patternBytes(44100 * 2, 13), "E4S3")
      .build();
}

ImageBuilder kitImage() {
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("Banks");
  folder.addFile("KIT", kitBank(), {.e4b0Mark = true});
  folder.addFile("OTHER", IffBank().sample("Solo", patternBytes(100)).build(), {.e4b0Mark = true});
  folder.addFile("OLD", emulatorThreeBank("Old Piano", 5, 12));
  folder.addFile("NOTES", bytesOf("notes"), {.type = 0x82});
  return image;
}

} // namespace tessary::test
