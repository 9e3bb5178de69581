#pragma once

#include "filesystem/VolumeRules.h"

namespace tessary {

/// The rules by which the samplers' volumes are changed, oddities included: nothing is looked at but what the
/// rule itself needs.
class BareRules final : public VolumeRules {
public:
  [[nodiscard]] MountRules kind() const override { return MountRules::bare; }
  [[nodiscard]] bool keepsIndex() const override { return false; }
  [[nodiscard]] bool waitsForMedium() const override { return false; }

  [[nodiscard]] bool mayChangeImageAt(const Volume &, const std::string &, EMU3Error *) const override {
    return true;
  }
  [[nodiscard]] EMU3Error readOnlyError(ReadOnlyReason) const override {
    return engineError(EngineError::imageIsReadOnly);
  }

  [[nodiscard]] bool mayUse(const Volume &, const EMU3DirectoryPtr &) const override { return true; }
  [[nodiscard]] bool mayUse(const Volume &, const EMU3DirectoryPtr &, const EMU3FilePtr &) const override {
    return true;
  }
  [[nodiscard]] bool mayUse(const Volume &, const EMU3DirectoryPtr &,
                            const EMU3DirectoryPtr &) const override {
    return true;
  }
  [[nodiscard]] bool mayErase(const EMU3File &) const override { return true; }
  [[nodiscard]] bool mayRead(const Volume &, const EMU3FilePtr &) const override { return true; }

  [[nodiscard]] std::optional<std::string> nameOf(const std::uint8_t *dentry) const override;
  [[nodiscard]] std::string_view storedName(const std::string &name) const override;
  [[nodiscard]] bool mayStoreName(const std::string &) const override { return true; }
  [[nodiscard]] std::string nameAfterStoring(const std::string &given, const std::uint8_t *) const override {
    return given;
  }
  [[nodiscard]] bool storesFolderNames() const override { return false; }

  [[nodiscard]] ByteBufferPtr contentsForExport(const Volume &volume, const EMU3File &file,
                                                EMU3Error *error) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] ByteBufferPtr contentsForCopy(const Volume &volume, const EMU3File &file,
                                              EMU3Error *error) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] std::string nameOfSample(const BankSample &sample) const override { return sample.type; }
  [[nodiscard]] SampleAudio audioOfSamples(const FileContents &bank,
                                           const std::vector<BankSample> &samples) const override;
  [[nodiscard]] bool mayWriteHostFile(const std::string &) const override { return true; }

  [[nodiscard]] bool refusesBeforeReading() const override { return false; }
  [[nodiscard]] std::uint64_t mostBlocksOfAFile() const override;
  [[nodiscard]] std::optional<std::uint16_t> slotForNewFile(const Volume &volume, std::uint64_t blocks) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] std::uint64_t largestNewFile(const Volume &volume) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] format::Dentry entryOfNewFile(const NewFile &file, const NewFilePlace &place) const override;
  [[nodiscard]] EMU3FileFields fieldsOfNewFile(const NewFile &file, const NewFilePlace &place,
                                               const format::Dentry &dentry) const override;
  [[nodiscard]] bool copiesKeepTheirEntry() const override { return false; }
  [[nodiscard]] bool movesEntryAlone() const override { return false; }

  void markNewFile(Volume &volume, std::uint16_t slot, std::uint64_t size) const
      TESSARY_REQUIRES(volume.lock) override;
  void unmarkFailedFile(Volume &volume, std::uint16_t slot, std::uint64_t size) const
      TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] std::vector<BlockRun> freedBlocks(const Volume &volume,
                                                  const std::vector<EMU3FileFields> &deleted) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  void clearMarks(Volume &volume, const BlockRun &freed) const TESSARY_REQUIRES(volume.lock) override;

  [[nodiscard]] bool isFree(const Volume &volume, const std::uint8_t *dentry, EntryPlace place) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] bool takesEntries(const Volume &volume, std::int64_t block) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] bool mayChangeEntry(const Volume &volume, EntryPlace place, const OwnFiles &own) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  void entryWasTaken(Volume &, const EMU3DirectoryPtr &, EntryPlace) const override {}
  [[nodiscard]] std::optional<std::int64_t> findDirectoryBlock(const Volume &volume,
                                                               const DirectoryBlockWish &wish) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] std::optional<FolderGrowth> growthOf(const Volume &, const EMU3DirectoryPtr &,
                                                     const DirectoryBlockWish &) const override {
    return std::nullopt;
  }
  [[nodiscard]] BlocksToKeep blocksToKeep(const Volume &,
                                          const std::vector<EMU3DirectoryPtr> &) const override {
    return {};
  }
};

} // namespace tessary
