#include "ResourceManager.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "ErrorStatus.h"
#include "FileBytes.h"
#include "ForkFile.h"
#include "ForkLocator.h"
#include "OpenResourceFile.h"
#include "ResourceFile.h"

namespace fs = boost::filesystem;

namespace {

constexpr char kResourceForkName[] = "RESOURCE_FORK";
constexpr char kDataForkName[] = "";
constexpr std::int16_t kLargestNumber = std::numeric_limits<std::int16_t>::max();

// All that is global about resource files.
struct Manager {
    ForkLocator locator;
    ResourceHandles handles;
    std::map<Handle, ResourceBlockPtr> loose;  // blocks of NewHandle that are no resources
    // In the order of opening, with their numbers.
    std::vector<std::pair<std::int16_t, std::unique_ptr<OpenResourceFile>>> files;
    std::int16_t lastNumber = 0;
    std::int16_t current = 0;
    std::int16_t error = noErr;
    ForkTrouble trouble;

    OpenResourceFile* file(std::int16_t refNum) {
        const auto found = find(refNum);
        return found != files.end() ? found->second.get() : nullptr;
    }
    std::vector<std::pair<std::int16_t, std::unique_ptr<OpenResourceFile>>>::iterator find(
        std::int16_t refNum) {
        return std::find_if(files.begin(), files.end(),
                            [&](const auto& entry) { return entry.first == refNum; });
    }
    std::optional<std::int16_t> unusedNumber() {
        for (int i = 0; i < kLargestNumber; ++i) {
            lastNumber = lastNumber == kLargestNumber ? std::int16_t{1}
                                                      : static_cast<std::int16_t>(lastNumber + 1);
            if (file(lastNumber) == nullptr) {
                return lastNumber;
            }
        }
        return std::nullopt;
    }
    void close(std::int16_t refNum) {
        const auto found = find(refNum);
        files.erase(found);
        if (current == refNum) {
            current = files.empty() ? std::int16_t{0} : files.back().first;
        }
    }
};

// Held by each operation. The manager is never destroyed: threads may outlive the main function.
struct LockedManager {
    LockedManager() : lock(macParsingMutex()) {
        static Manager* const manager = new Manager;
        all = manager;
    }
    Manager* operator->() const { return all; }

    boost::unique_lock<boost::recursive_mutex> lock;
    Manager* all;
};

// What stat says about a path that a reference may stand for.
struct PathStatus {
    std::int16_t status = noErr;
    bool isFolder = false;
};

PathStatus statusOf(const fs::path& path) {
    struct stat info;
    if (::stat(path.c_str(), &info) != 0) {
        return {statusOfErrno(errno), false};
    }
    const bool usable = S_ISREG(info.st_mode) || S_ISDIR(info.st_mode);
    return {usable ? noErr : fnfErr, S_ISDIR(info.st_mode)};
}

ForkAnswer readDataFork(const fs::path& path) {
    ForkAnswer answer;
    boost::system::error_code error;
    const auto file = ForkFile::open(path, RegularFile::Links::eFollow, error);
    if (!file) {
        answer.status = statusOfError(error);
        answer.trouble = {error, "cannot read the file: " + error.message()};
        return answer;
    }
    const std::uint64_t size = file->size();
    const std::vector<std::uint8_t> header = file->read(0, 16);
    if (size == 0) {
        answer.status = eofErr;
    } else if (size >= kTooLargeToRead) {
        answer.status = memFullErr;
    } else if (!isPlausibleResourceHeader(ByteView(header), size)) {
        answer.status = mapReadErr;
    } else {
        answer.bytes = std::make_shared<std::vector<std::uint8_t>>(file->read(0, size));
        answer.status = answer.bytes->size() == size ? noErr : ioErr;
    }
    if (const boost::system::error_code& failed = file->readError()) {
        answer.trouble = {failed, "cannot read the file: " + failed.message()};
    }
    return answer;
}

ForkAnswer readFork(ForkLocator& locator, const fs::path& path, bool dataFork) {
    const std::optional<std::uint64_t> size = regularFileSize(path);
    if (size && *size >= kTooLargeToRead) {
        ForkAnswer tooLarge;
        tooLarge.status = memFullErr;
        return tooLarge;
    }
    return dataFork ? readDataFork(path) : locator.resourceFork(path);
}

std::int16_t makeOpenFile(Manager& manager, const FSRef& ref, const HFSUniStr255& forkName,
                          std::int8_t permission, std::unique_ptr<OpenResourceFile>& file) {
    const bool dataFork = forkName.name == kDataForkName;
    if (!dataFork && forkName.name != kResourceForkName) {
        return paramErr;
    }
    if (permission == fsRdWrPerm && ref.isNew && !dataFork) {
        file = std::make_unique<NewResourceFile>(manager.handles, ref.path, ref.newInfo);
        return noErr;
    }
    if (permission != fsRdPerm) {
        return wrPermErr;
    }
    ForkAnswer fork = readFork(manager.locator, ref.path, dataFork);
    manager.trouble = fork.trouble;
    if (fork.status != noErr) {
        return fork.status;
    }
    auto inMemory = std::make_unique<ForkInMemory>(manager.handles, std::move(fork.bytes));
    const std::int16_t status = inMemory->open();
    file = std::move(inMemory);
    return status;
}

std::int16_t openFile(Manager& manager, const FSRef& ref, const HFSUniStr255& forkName,
                      std::int8_t permission, std::int16_t* refNum) {
    std::unique_ptr<OpenResourceFile> file;
    const std::int16_t status = makeOpenFile(manager, ref, forkName, permission, file);
    if (status != noErr) {
        return status;
    }
    const std::optional<std::int16_t> number = manager.unusedNumber();
    if (!number) {
        return tmfoErr;
    }
    manager.files.emplace_back(*number, std::move(file));
    manager.current = *number;
    *refNum = *number;
    return noErr;
}

bool isPlainName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

Handle answer(LockedManager& manager, const OpenResourceFile::Found& found) {
    manager->error = found.status;
    return found.block != nullptr ? &found.block->data : nullptr;
}

}  // namespace

boost::recursive_mutex& macParsingMutex() {
    static auto* const mutex = new boost::recursive_mutex;
    return *mutex;
}

std::int16_t FSPathMakeRef(const char* utf8Path, FSRef* ref) {
    if (utf8Path == nullptr || ref == nullptr) {
        return paramErr;
    }
    *ref = FSRef();
    const PathStatus status = statusOf(utf8Path);
    if (status.status == noErr) {
        ref->path = utf8Path;
    }
    return status.status;
}

std::int16_t FSGetResourceForkName(HFSUniStr255* name) {
    name->name = kResourceForkName;
    return noErr;
}

std::int16_t FSGetDataForkName(HFSUniStr255* name) {
    name->name = kDataForkName;
    return noErr;
}

std::int16_t FSOpenResourceFile(const FSRef* ref, const HFSUniStr255& forkName,
                                std::int8_t permission, std::int16_t* refNum) {
    LockedManager manager;
    *refNum = -1;
    manager->trouble = ForkTrouble();
    try {
        manager->error = openFile(*manager.all, *ref, forkName, permission, refNum);
    } catch (const std::bad_alloc&) {
        manager->error = memFullErr;
    }
    return manager->error;
}

std::int16_t CurResFile() {
    LockedManager manager;
    manager->error = noErr;
    return manager->current;
}

void UseResFile(std::int16_t refNum) {
    LockedManager manager;
    const bool known = refNum == 0 || manager->file(refNum) != nullptr;
    manager->error = known ? noErr : resFNotFound;
    if (known) {
        manager->current = refNum;
    }
}

void CloseResFile(std::int16_t refNum) {
    LockedManager manager;
    OpenResourceFile* file = manager->file(refNum);
    if (file == nullptr) {
        manager->error = resFNotFound;
        return;
    }
    try {
        manager->error = file->update();
    } catch (const std::bad_alloc&) {
        manager->error = memFullErr;
    }
    manager->close(refNum);
}

void DiscardResFile(std::int16_t refNum) {
    LockedManager manager;
    manager->error = manager->file(refNum) != nullptr ? noErr : resFNotFound;
    if (manager->error == noErr) {
        manager->close(refNum);
    }
}

std::int16_t ResError() {
    LockedManager manager;
    return manager->error;
}

ForkTrouble LastForkTrouble() {
    LockedManager manager;
    return manager->trouble;
}

std::int16_t Count1Resources(ResType type) {
    LockedManager manager;
    OpenResourceFile* file = manager->file(manager->current);
    manager->error = file != nullptr ? noErr : resFNotFound;
    const std::size_t count = file != nullptr ? file->count(type) : 0;
    return static_cast<std::int16_t>(std::min<std::size_t>(count, kLargestNumber));
}

Handle Get1IndResource(ResType type, std::int16_t index) {
    LockedManager manager;
    OpenResourceFile* file = manager->file(manager->current);
    if (file == nullptr) {
        return answer(manager, {resFNotFound, nullptr});
    }
    if (index < 1) {
        return answer(manager, {resNotFound, nullptr});
    }
    return answer(manager, file->byIndex(type, static_cast<std::size_t>(index) - 1));
}

Handle Get1Resource(ResType type, std::int16_t id) {
    LockedManager manager;
    OpenResourceFile* file = manager->file(manager->current);
    if (file == nullptr) {
        return answer(manager, {resFNotFound, nullptr});
    }
    if (!file->holdsType(type)) {
        return answer(manager, {noErr, nullptr});
    }
    return answer(manager, file->byId(type, id));
}

void GetResInfo(Handle resource, std::int16_t* id, ResType* type, std::uint8_t* name) {
    LockedManager manager;
    const ResourceBlock* block = manager->handles.find(resource);
    if (block == nullptr || block->file == nullptr) {
        manager->error = resNotFound;
        return;
    }
    manager->error = noErr;
    if (id != nullptr) {
        *id = block->id;
    }
    if (type != nullptr) {
        *type = block->type;
    }
    if (name != nullptr) {
        std::fill_n(name, sizeof(Str255), std::uint8_t{0});
        name[0] = static_cast<std::uint8_t>(block->name.size());
        std::copy(block->name.begin(), block->name.end(), name + 1);
    }
}

std::int32_t GetHandleSize(Handle handle) {
    return static_cast<std::int32_t>(handleBytes(handle).size());
}

void HLock(Handle) {}

void HUnlock(Handle) {}

ByteView handleBytes(Handle handle) {
    LockedManager manager;
    const ResourceBlock* block = manager->handles.find(handle);
    return block != nullptr ? block->view() : ByteView();
}

Handle NewHandle(std::int32_t size) {
    LockedManager manager;
    if (size < 0) {
        return nullptr;
    }
    try {
        auto block = std::make_unique<ResourceBlock>();
        // One byte more, so that an empty block has an address, too.
        block->owned.resize(static_cast<std::size_t>(size) + 1);
        block->data = block->owned.data();
        block->size = static_cast<std::size_t>(size);
        ResourceBlock& result = *block;
        manager->loose.emplace(&result.data, std::move(block));
        manager->handles.add(result);
        return &result.data;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void DisposeHandle(Handle handle) {
    LockedManager manager;
    if (const auto found = manager->loose.find(handle); found != manager->loose.end()) {
        manager->handles.remove(*found->second);
        manager->loose.erase(found);
    }
}

std::int16_t FSCreateResourceFile(const FSRef* parent, const std::string& name,
                                  const FSCatalogInfo& info, const HFSUniStr255& forkName,
                                  FSRef* newRef) {
    LockedManager manager;
    const auto finish = [&](std::int16_t status) { return manager->error = status; };
    if (!isPlainName(name) || forkName.name != kResourceForkName) {
        return finish(paramErr);
    }
    const PathStatus folder = statusOf(parent->path);
    if (folder.status != noErr || !folder.isFolder) {
        return finish(folder.status != noErr ? folder.status : fnfErr);
    }
    const fs::path path = parent->path / name;
    struct stat status;
    if (::lstat(path.c_str(), &status) == 0) {
        return finish(dupFNErr);
    }
    if (errno != ENOENT) {
        return finish(statusOfErrno(errno));
    }
    newRef->path = path;
    newRef->isNew = true;
    newRef->newInfo = info.finderInfo;
    return finish(noErr);
}

void AddResource(Handle handle, ResType type, std::int16_t id, const std::uint8_t* name) {
    LockedManager manager;
    const auto found = manager->loose.find(handle);
    OpenResourceFile* file = manager->file(manager->current);
    if (found == manager->loose.end()) {
        manager->error = addResFailed;
    } else if (file == nullptr) {
        manager->error = resFNotFound;
    } else {
        ResourceBlockPtr& block = found->second;
        block->type = type;
        block->id = id;
        block->name = name == nullptr ? std::string() : std::string(name + 1, name + 1 + name[0]);
        manager->error = file->add(block);
        if (manager->error == noErr) {
            manager->loose.erase(found);
        }
    }
}

void WriteResource(Handle resource) {
    LockedManager manager;
    const ResourceBlock* block = manager->handles.find(resource);
    manager->error = resNotFound;
    for (const auto& [number, file] : manager->files) {
        if (block != nullptr && block->file == file.get()) {
            manager->error = file->markChanged();
        }
    }
}

void UpdateResFile(std::int16_t refNum) {
    LockedManager manager;
    OpenResourceFile* file = manager->file(refNum);
    try {
        manager->error = file != nullptr ? file->update() : resFNotFound;
    } catch (const std::bad_alloc&) {
        manager->error = memFullErr;
    }
}

std::int16_t FSGetCatalogInfo(const FSRef* ref, FSCatalogInfo* info) {
    LockedManager manager;
    *info = FSCatalogInfo();
    const FinderAnswer finder = manager->locator.finderInfo(ref->path);
    manager->trouble = finder.trouble;
    info->finderInfo = finder.info;
    if (finder.status != fnfErr) {
        return finder.status;
    }
    if (ref->isNew) {
        info->finderInfo = ref->newInfo;
        return noErr;
    }
    const PathStatus status = statusOf(ref->path);  // a folder is no file
    info->isFolder = status.isFolder;
    return status.isFolder ? noErr : fnfErr;
}

std::int16_t PBGetCatalogInfoSync(FSRefParam* block) {
    return FSGetCatalogInfo(block->ref, block->catInfo);
}
