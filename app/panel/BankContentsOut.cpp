#include "app/Beeper.h"
#include "app/DraggedData.h"
#include "app/panel/BankContents.h"
#include "app/panel/BankContentsPanel.h"
#include "app/panel/BankEntryTable.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>

// What leaves the panel: samples and names.
namespace tessary {

std::vector<ListedSample> BankContents::chosenSamples() const {
  std::vector<ListedSample> samples;
  if (!bank_) return samples;
  for (const int row : panel_->table()->chosenRows()) {
    const BankEntry *entry = panel_->model()->entryAt(row);
    if (entry && entry->sample) samples.push_back({*entry->sample, entry->name});
  }
  return samples;
}

void BankContents::copyNames() const {
  QStringList names;
  for (const int row : panel_->table()->chosenRows())
    names += panel_->model()->nameAt(row);
  names.isEmpty() ? beep() : QGuiApplication::clipboard()->setText(names.join(QLatin1Char('\n')));
}

void BankContents::exportChosen() {
  const std::vector<ListedSample> samples = chosenSamples();
  samples.empty() ? beep() : exportSamples_(bank_, samples, panel_->rate());
}

std::unique_ptr<DraggedData> BankContents::dragged() const {
  const std::vector<ListedSample> samples = chosenSamples();
  return samples.empty() ? nullptr : drags_->dataOf(bank_, samples, panel_->rate());
}

void BankContents::showMenu(const QPoint &position) {
  auto *menu = new QMenu(panel_);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  const bool plays = player_->isPlaying() || isStarting_;
  menu->addAction(plays ? QStringLiteral("Stop") : QStringLiteral("Play"), this, &BankContents::togglePlaying)
      ->setEnabled(row_ >= 0);
  menu->addAction(QStringLiteral("Export…"), this, &BankContents::exportChosen)
      ->setEnabled(!chosenSamples().empty());
  menu->addSeparator();
  menu->addAction(QStringLiteral("Copy Names"), this, &BankContents::copyNames)
      ->setEnabled(!panel_->table()->chosenRows().empty());
  menu->popup(panel_->table()->viewport()->mapToGlobal(position));
}

} // namespace tessary
