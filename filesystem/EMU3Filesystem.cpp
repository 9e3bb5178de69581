#include "tessary/EMU3Filesystem.h"

#include "banks/BankAnalysis.h"
#include "banks/BankContents.h"
#include "banks/BankSamples.h"
#include "filesystem/ChangeGroup.h"
#include "filesystem/ChangeStep.h"
#include "filesystem/DiskFormat.h"
#include "filesystem/FileChanges.h"
#include "filesystem/FileExport.h"
#include "filesystem/FileReading.h"
#include "filesystem/FolderChanges.h"
#include "filesystem/FolderRecovery.h"
#include "filesystem/HostFileGroup.h"
#include "filesystem/HostImport.h"
#include "filesystem/ImageBackup.h"
#include "filesystem/NewHostFile.h"
#include "filesystem/TreeEditor.h"
#include "filesystem/UndisturbedReading.h"
#include "filesystem/Volume.h"
#include "filesystem/VolumeCheck.h"
#include "filesystem/VolumeRules.h"
#include "tessary/ItemsOperation.h"
#include "tessary/Text.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

// Each operation takes the volume's locks and calls one function; host files are read before and written
// after, without a lock.
namespace tessary {
namespace {

static_assert(EMU3Filesystem::kBlockSize == format::kBlockSize);

// An absolute path leads to the image also when the program changes its current folder.
std::string absolutePath(const std::string &path) {
  std::error_code ignored;
  const std::filesystem::path absolute = std::filesystem::absolute(path, ignored);
  return absolute.empty() ? path : absolute.native();
}

} // namespace

EMU3FilesystemPtr EMU3Filesystem::initWithURL(const std::string &imageURL, MountRules rules, ImageClaim claim,
                                              EMU3Error *error) {
  std::shared_ptr<Volume> volume = Volume::open(imageURL, rules, claim, error);
  if (!volume) return nullptr;
  return EMU3FilesystemPtr(new EMU3Filesystem(imageURL, std::move(volume)));
}

EMU3FilesystemPtr EMU3Filesystem::initWithURL(const std::string &imageURL, MountRules rules,
                                              EMU3Error *error) {
  const bool isGuarded = rules == MountRules::guarded;
  return initWithURL(imageURL, rules, isGuarded ? ImageClaim::atFirstChange : ImageClaim::whenMounted, error);
}

EMU3FilesystemPtr EMU3Filesystem::initWithURL(const std::string &imageURL, EMU3Error *error) {
  return initWithURL(imageURL, MountRules::bare, error);
}

EMU3Filesystem::EMU3Filesystem(std::string imageURL, std::shared_ptr<Volume> volume)
    : imageURL_(std::move(imageURL)), imagePath_(absolutePath(imageURL_)),
      ioQueue_(std::make_unique<SerialQueue>("com.tessary.io")), volume_(std::move(volume)),
      identity_(ImageIdentity::of(volume_->image.descriptor(), imagePath_)) {}

EMU3Filesystem::~EMU3Filesystem() = default;

bool EMU3Filesystem::reload(EMU3Error *error) {
  const WriteLock changing(volume_->changing);
  const WriteLock lock(volume_->lock);
  return volume_->read(volumeLabel(), error);
}

bool EMU3Filesystem::claimForChanges(EMU3Error *error) {
  if (!volume_->isShared() && !volume_->isReadOnly()) return true; // claimed already
  const WriteLock changing(volume_->changing);
  const WriteLock lock(volume_->lock);
  return volume_->claim(error);
}

bool EMU3Filesystem::perform(VolumeChange &change, EMU3Error *error, EMU3DirectoryPtr *made) {
  if (!ChangeGroup::run(*volume_, imagePath_, change, error)) return false;
  if (made != nullptr) *made = change.folder();
  return true;
}

// ---- Facts

MountRules EMU3Filesystem::rules() const {
  return volume_->rules().kind();
}
bool EMU3Filesystem::isTrial() const {
  return volume_->isTrial();
}
bool EMU3Filesystem::isOfSameImage(const EMU3Filesystem &other) const {
  return volume_->isOfSameImage(*other.volume_);
}
std::uint64_t EMU3Filesystem::imageSize() const {
  return volume_->image.size();
}
bool EMU3Filesystem::isReadOnly() const {
  return volume_->isReadOnly();
}
ReadOnlyReason EMU3Filesystem::readOnlyReason() const {
  return volume_->readOnlyReason();
}
std::uint64_t EMU3Filesystem::totalBlocks() const {
  return volume_->geometry().totalBlocks;
}
std::uint64_t EMU3Filesystem::usedBlocks() const {
  return volume_->counters.used();
}
std::uint64_t EMU3Filesystem::freeBlocks() const {
  return volume_->counters.free();
}
std::uint64_t EMU3Filesystem::largestFreeBlocks() const {
  const ReadLock lock(volume_->lock);
  return volume_->rules().largestNewFile(*volume_);
}
std::uint64_t EMU3Filesystem::totalClusters() const {
  return volume_->totalClusters();
}
std::string EMU3Filesystem::volumeLabel() const {
  return volumeLabelOf(imageURL_);
}
std::uint64_t EMU3Filesystem::rootDirBlock() const {
  return volume_->geometry().rootDirBlock;
}
std::uint64_t EMU3Filesystem::dataAreaBlock() const {
  return volume_->geometry().dataAreaBlock;
}
std::uint64_t EMU3Filesystem::slotSizeBlocks() const {
  return volume_->geometry().slotSizeBlocks;
}
std::uint64_t EMU3Filesystem::fatStartBlock() const {
  return volume_->geometry().fatStartBlock;
}
std::uint64_t EMU3Filesystem::describedBlocks() const {
  return volume_->geometry().describedBlocks();
}
std::array<std::uint8_t, format::kBlockSize> EMU3Filesystem::header() const {
  const ReadLock lock(volume_->lock);
  format::Block header{};
  static_cast<void>(volume_->image.read(0, 0, header.data(), header.size()));
  return header;
}
EMU3DirectoryPtr EMU3Filesystem::rootDirectory() const {
  return volume_->rootDirectory();
}

// ---- Reading

ByteBufferPtr EMU3Filesystem::dataForFile(const EMU3FilePtr &file, EMU3Error *error) {
  if (ByteBufferPtr cached = file->cachedData()) {
    const ReadLock lock(volume_->lock);
    return mayReadFile(*volume_, file, error) ? cached : nullptr;
  }
  const std::optional<ByteBufferPtr> data = readUndisturbed(*volume_, file, error, [&] {
    volume_->lock.assertHeldShared();
    return bytesOfFile(*volume_, *file);
  });
  if (!data || volume_->mayChangeBeside())
    return data.value_or(nullptr); // not kept: another program may change them
  return TreeEditor::cacheDataIfUnset(*file, *data);
}

ByteBufferPtr EMU3Filesystem::contentsOfFile(const EMU3FilePtr &file, EMU3Error *error) {
  return readForExport(*volume_, file, error);
}

bool EMU3Filesystem::exportFile(const EMU3FilePtr &file, const std::string &toURL, EMU3Error *error) {
  const ByteBufferPtr data = readForExport(*volume_, file, error);
  return data && HostFileGroup::writeOne(volume_->rules(), toURL, {{data->data(), data->size()}}, error);
}

// ---- Banks

bool EMU3Filesystem::populateBankMetadata(const EMU3FilePtr &file, EMU3Error *error) {
  return analyse(file, file->bankDetails(), error);
}

bool EMU3Filesystem::refreshBankMetadata(const EMU3FilePtr &file, EMU3Error *error) {
  return analyse(file, {}, error);
}

bool EMU3Filesystem::analyse(const EMU3FilePtr &file, BankDetails details, EMU3Error *error) {
  struct Analysis {
    bool done = true;
    BankDetails details;
    bool operator==(const Analysis &) const = default;
  };
  const bool isBank = file->fileType() == kFileTypeBank;
  std::optional<Analysis> analysis = readUndisturbed(*volume_, file, error, [&] {
    volume_->lock.assertHeldShared();
    Analysis made{true, details};
    if (isBank)
      made.done = analyseBank(tessary::contentsOfFile(*volume_, *file), file->name(), &made.details);
    return made;
  });
  if (!analysis) return false;
  giveBackPagesAfter(*file);
  TreeEditor::setBankDetails(*file, std::move(analysis->details));
  return analysis->done;
}

// Gives back the pages that reading bank details brought into memory, when the user goes on to another
// folder: between two files of one folder it would give back what the next file needs (the folder's own
// entries).
void EMU3Filesystem::giveBackPagesAfter(const EMU3File &analysed) {
  constexpr unsigned worthIt = 512; // banks: some megabytes, and little time for each
  const EMU3Directory *const folder = analysed.folder().get();
  const bool isSameFolder = detailsFolder_.exchange(folder) == folder;
  if (++detailsRead_ < worthIt || isSameFolder) return;
  detailsRead_ = 0;
  volume_->image.letGoOfPages();
}

std::vector<std::string> EMU3Filesystem::samplesFromBankFile(const EMU3FilePtr &file, EMU3Error *error) {
  std::vector<std::string> types;
  for (BankSample &sample : namedSamplesFromBankFile(file, error))
    types.push_back(std::move(sample.type));
  return types;
}

std::vector<BankSample> EMU3Filesystem::namedSamplesFromBankFile(const EMU3FilePtr &file, EMU3Error *error) {
  const bool isBank = file->fileType() == kFileTypeBank;
  std::optional<std::vector<BankSample>> samples = readUndisturbed(*volume_, file, error, [&] {
    volume_->lock.assertHeldShared();
    return isBank ? listedSamples(tessary::contentsOfFile(*volume_, *file)) : std::vector<BankSample>();
  });
  if (!samples) return {};
  if (!isBank) fail(error, EngineError::notABank);
  for (BankSample &sample : *samples)
    sample.name = volume_->rules().nameOfSample(sample);
  return *std::move(samples);
}

std::vector<BankEntry> EMU3Filesystem::contentsOfBankFile(const EMU3FilePtr &file, EMU3Error *error) {
  return readBankEntries(file, bankContents, error);
}

std::vector<BankEntry> EMU3Filesystem::listingOfBankFile(const EMU3FilePtr &file, EMU3Error *error) {
  return readBankEntries(file, bankListing, error);
}

std::vector<BankEntry> EMU3Filesystem::readBankEntries(const EMU3FilePtr &file,
                                                       std::vector<BankEntry> (*read)(const FileContents &),
                                                       EMU3Error *error) {
  if (file->fileType() != kFileTypeBank) {
    fail(error, EngineError::notABank);
    return {};
  }
  return readUndisturbed(*volume_, file, error,
                         [&] {
                           volume_->lock.assertHeldShared();
                           return read(tessary::contentsOfFile(*volume_, *file));
                         })
      .value_or(std::vector<BankEntry>());
}

ByteBufferPtr EMU3Filesystem::pieceOfFile(const EMU3FilePtr &file, std::uint64_t offset, std::uint64_t length,
                                          EMU3Error *error) {
  return readUndisturbed(*volume_, file, error,
                         [&] {
                           volume_->lock.assertHeldShared();
                           const FileContents contents = tessary::contentsOfFile(*volume_, *file);
                           const std::uint64_t left = contents.size() - std::min(offset, contents.size());
                           auto piece = std::make_shared<ByteBuffer>();
                           piece->resize(std::min(length, left));
                           piece->resize(contents.read(offset, piece->data(), piece->size()));
                           return ByteBufferPtr(std::move(piece));
                         })
      .value_or(nullptr);
}

ByteBufferPtr EMU3Filesystem::wavOfSample(std::uint64_t index, const EMU3FilePtr &fromBankFile,
                                          std::uint32_t rate, EMU3Error *error) {
  const std::optional<SampleBank> bank = readSampleBank(*volume_, fromBankFile, error);
  if (!bank) return nullptr;
  const std::optional<WavOfSample> wav = WavOfSample::of(*bank, index, rate, error);
  if (!wav) return nullptr;
  auto bytes = std::make_shared<ByteBuffer>();
  for (const std::span<const std::uint8_t> part : wav->parts())
    bytes->insert(bytes->end(), part.begin(), part.end());
  return bytes;
}

bool EMU3Filesystem::exportSampleAtIndex(std::uint64_t index, const EMU3FilePtr &fromBankFile,
                                         const std::string &toURL, EMU3Error *error) {
  const std::optional<SampleBank> bank = readSampleBank(*volume_, fromBankFile, error);
  if (!bank) return false;
  const std::optional<WavOfSample> wav = WavOfSample::of(*bank, index, ExportOptions().sampleRate, error);
  if (!wav) return false;
  return HostFileGroup::writeOne(volume_->rules(), toURL, wav->parts(), nullptr) ||
         fail(error, EngineError::sampleWriteFailed);
}

// ---- Changes of files

bool EMU3Filesystem::deleteFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
                                EMU3Error *error) {
  DeleteFile change(file, inDirectory);
  return perform(change, error);
}

bool EMU3Filesystem::copyFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &toDirectory,
                              EMU3Error *error) {
  CopyFile change(file, toDirectory);
  return perform(change, error);
}

bool EMU3Filesystem::moveFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
                              const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  const std::unique_ptr<VolumeChange> change = moveOf(*volume_, file, fromDirectory, toDirectory);
  return perform(*change, error);
}

bool EMU3Filesystem::renameFile(const EMU3FilePtr &file, const std::string &newName,
                                const EMU3DirectoryPtr &inDirectory, EMU3Error *error) {
  RenameFile change(file, {.given = newName}, inDirectory);
  return perform(change, error);
}

bool EMU3Filesystem::importFileAtURL(const std::string &url, const EMU3DirectoryPtr &toDirectory,
                                     EMU3Error *error) {
  std::optional<NewFile> file = readForImport(*volume_, imagePath_, {.hostPath = url}, toDirectory, error);
  if (!file) return false;
  StoreFile change(*std::move(file), toDirectory);
  return perform(change, error);
}

EMU3FilePtr EMU3Filesystem::restoreFileAtURL(const std::string &url, const EntryBytes &entry,
                                             const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  std::optional<NewFile> file = readForRestoration(*volume_, imagePath_, url, entry, toDirectory, error);
  if (!file) return nullptr;
  StoreFile change(*std::move(file), toDirectory);
  return perform(change, error) ? change.file() : nullptr;
}

std::unique_ptr<ItemsOperation> EMU3Filesystem::manyItems() {
  return std::make_unique<ItemsOperation>(at());
}

VolumeAt EMU3Filesystem::at() const {
  return {volume_, imagePath_};
}

std::optional<EntryBytes> EMU3Filesystem::entryOfFile(const EMU3FilePtr &file, EMU3Error *error) {
  const ReadLock lock(volume_->lock);
  if (!mayReadFile(*volume_, file, error)) return std::nullopt;
  std::optional<EntryBytes> entry = volume_->entries.readEntry(file->place());
  if (!entry) fail(error, EngineError::entryNotFound);
  return entry;
}

std::optional<EntryBytes> EMU3Filesystem::entryOfDirectory(const EMU3DirectoryPtr &directory,
                                                           EMU3Error *error) {
  const ReadLock lock(volume_->lock);
  std::optional<EntryBytes> entry;
  if (volume_->rules().mayUse(*volume_, directory->parent(), directory))
    entry = volume_->entries.readEntry(directory->place());
  if (!entry) fail(error, EngineError::entryNotFound);
  return entry;
}

std::vector<TreeEntry> EMU3Filesystem::entriesOfTree(const EMU3DirectoryPtr &directory, EMU3Error *error) {
  const ReadLock lock(volume_->lock);
  std::vector<TreeEntry> entries;
  if (!volume_->rules().mayUse(*volume_, directory->parent(), directory)) {
    fail(error, EngineError::entryNotFound);
    return entries;
  }
  const auto add = [&](TreeEntry item, EntryPlace place) {
    volume_->lock.assertHeldShared();
    const std::optional<EntryBytes> entry = volume_->entries.readEntry(place);
    if (!entry) return fail(error, EngineError::entryNotFound);
    item.entry = *entry;
    entries.push_back(std::move(item));
    return true;
  };
  std::vector<TreeEntry> waiting{{.directory = directory}};
  while (!waiting.empty()) {
    const TreeEntry folder = std::move(waiting.back());
    waiting.pop_back();
    const std::size_t number = entries.size();
    bool isRead = add(folder, folder.directory->place());
    for (const EMU3FilePtr &file : folder.directory->allFiles())
      isRead = isRead && add({.folder = number, .file = file}, file->place());
    if (!isRead) return {};
    std::vector<EMU3DirectoryPtr> below = folder.directory->subdirectories();
    for (; !below.empty(); below.pop_back())
      waiting.push_back({.folder = number, .directory = std::move(below.back())});
  }
  return entries;
}

// ---- Changes of folders

bool EMU3Filesystem::createDirectoryNamed(const std::string &name, const EMU3DirectoryPtr &inDirectory,
                                          EMU3Error *error, EMU3DirectoryPtr *made) {
  CreateFolder change(name, inDirectory);
  return perform(change, error, made);
}

bool EMU3Filesystem::renameDirectory(const EMU3DirectoryPtr &directory, const std::string &newName,
                                     EMU3Error *error) {
  RenameFolder change(directory, {.given = newName});
  return perform(change, error);
}

bool EMU3Filesystem::moveDirectory(const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &toDirectory,
                                   EMU3Error *error) {
  MoveFolder change(directory, toDirectory);
  return perform(change, error);
}

bool EMU3Filesystem::deleteDirectory(const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &fromParent,
                                     EMU3Error *error) {
  DeleteFolder change(directory, fromParent);
  return perform(change, error);
}

bool EMU3Filesystem::backUpTo(const std::string &target, const BackupWatcher &watcher, EMU3Error *error) {
  const WriteLock changing(volume_->changing);
  if (!volume_->keepsOthersOut(error)) return false;
  if (volume_->isTrial()) return NewHostFile().create(target, NewHostFile::Earlier::refused, error);
  return backUpImage(volume_->image, target, watcher, error);
}

// ---- Damage. The image as a whole is looked at between two changes.

std::vector<VolumeFinding> EMU3Filesystem::check() {
  return *check(CheckWatcher());
}

std::optional<std::vector<VolumeFinding>> EMU3Filesystem::check(const CheckWatcher &watcher) {
  const ReadLock changing(volume_->changing);
  const ReadLock lock(volume_->lock);
  return checkVolume(*volume_, watcher);
}

std::vector<LostFolder> EMU3Filesystem::lostFolders() {
  const ReadLock changing(volume_->changing);
  const ReadLock lock(volume_->lock);
  return lostGround(*volume_).folders;
}

bool EMU3Filesystem::recoverFolder(std::uint64_t block, const std::string &name,
                                   const EMU3DirectoryPtr &inDirectory, EMU3Error *error,
                                   EMU3DirectoryPtr *made) {
  RecoverFolder change(block, name, inDirectory);
  return perform(change, error, made);
}

} // namespace tessary
