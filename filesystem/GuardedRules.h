#pragma once

#include "filesystem/VolumeRules.h"

namespace tessary {

/// The guards: each function is one of them, and refuses or avoids what the bare rule in its place would
/// destroy.
class GuardedRules final : public VolumeRules {
public:
  [[nodiscard]] MountRules kind() const override { return MountRules::guarded; }
  [[nodiscard]] bool keepsIndex() const override { return true; }
  [[nodiscard]] bool waitsForMedium() const override { return true; }

  [[nodiscard]] bool mayChangeImageAt(const Volume &volume, const std::string &path,
                                      EMU3Error *error) const override;
  [[nodiscard]] EMU3Error readOnlyError(ReadOnlyReason reason) const override;

  [[nodiscard]] bool mayUse(const Volume &volume, const EMU3DirectoryPtr &folder) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] bool mayUse(const Volume &volume, const EMU3DirectoryPtr &folder,
                            const EMU3FilePtr &file) const TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] bool mayUse(const Volume &volume, const EMU3DirectoryPtr &parent,
                            const EMU3DirectoryPtr &folder) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] bool mayErase(const EMU3File &file) const override;
  [[nodiscard]] bool mayRead(const Volume &volume, const EMU3FilePtr &file) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;

  [[nodiscard]] std::optional<std::string> nameOf(const std::uint8_t *dentry) const override;
  [[nodiscard]] std::string_view storedName(const std::string &name) const override;
  [[nodiscard]] bool mayStoreName(const std::string &name) const override;
  [[nodiscard]] std::string nameAfterStoring(const std::string &given,
                                             const std::uint8_t *field) const override;
  [[nodiscard]] bool storesFolderNames() const override { return true; }

  [[nodiscard]] ByteBufferPtr contentsForExport(const Volume &volume, const EMU3File &file,
                                                EMU3Error *error) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] ByteBufferPtr contentsForCopy(const Volume &volume, const EMU3File &file,
                                              EMU3Error *error) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] std::string nameOfSample(const BankSample &sample) const override { return sample.name; }
  [[nodiscard]] SampleAudio audioOfSamples(const FileContents &bank,
                                           const std::vector<BankSample> &samples) const override;
  [[nodiscard]] bool mayWriteHostFile(const std::string &path) const override;

  [[nodiscard]] bool refusesBeforeReading() const override { return true; }
  [[nodiscard]] std::uint64_t mostBlocksOfAFile() const override;
  [[nodiscard]] std::optional<std::uint16_t> slotForNewFile(const Volume &volume, std::uint64_t blocks) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] std::uint64_t largestNewFile(const Volume &volume) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] format::Dentry entryOfNewFile(const NewFile &file, const NewFilePlace &place) const override;
  [[nodiscard]] EMU3FileFields fieldsOfNewFile(const NewFile &file, const NewFilePlace &place,
                                               const format::Dentry &dentry) const override;
  [[nodiscard]] bool copiesKeepTheirEntry() const override { return true; }
  [[nodiscard]] bool movesEntryAlone() const override { return true; }

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
  void entryWasTaken(Volume &volume, const EMU3DirectoryPtr &folder, EntryPlace place) const
      TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] std::optional<std::int64_t> findDirectoryBlock(const Volume &volume,
                                                               const DirectoryBlockWish &wish) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] std::optional<FolderGrowth> growthOf(const Volume &volume, const EMU3DirectoryPtr &folder,
                                                     const DirectoryBlockWish &wish) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
  [[nodiscard]] BlocksToKeep blocksToKeep(const Volume &volume,
                                          const std::vector<EMU3DirectoryPtr> &deleted) const
      TESSARY_REQUIRES_SHARED(volume.lock) override;
};

} // namespace tessary
