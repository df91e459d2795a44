#include "OpenResourceFile.h"

#include <algorithm>

#include "MacBinary.h"
#include "MacRoman.h"
#include "NewFile.h"

ResourceBlock* ResourceHandles::find(char** handle) const {
    const auto found = blocks_.find(handle);
    return found != blocks_.end() ? found->second : nullptr;
}

ForkInMemory::~ForkInMemory() {
    for (auto& [key, block] : blocks_) {
        handles().remove(*block);
    }
}

OpenResourceFile::Found ForkInMemory::byIndex(std::uint32_t type, std::size_t index) {
    const auto references = reader_.references(type);
    return index < references.size() ? block(type, references[index]) : Found{resNotFound, nullptr};
}

OpenResourceFile::Found ForkInMemory::byId(std::uint32_t type, std::int16_t id) {
    const ResourceFile::Reference* reference = reader_.find(type, id);
    return reference != nullptr ? block(type, *reference) : Found{resNotFound, nullptr};
}

OpenResourceFile::Found ForkInMemory::block(std::uint32_t type,
                                            const ResourceFile::Reference& reference) {
    const std::pair key(type, reference.position);
    if (const auto known = blocks_.find(key); known != blocks_.end()) {
        return {noErr, known->second.get()};
    }
    const ResourceFile::Data data = reader_.data(reference);
    if (data.status != noErr) {
        return {data.status, nullptr};
    }
    auto made = std::make_unique<ResourceBlock>();
    made->data = reinterpret_cast<char*>(const_cast<std::uint8_t*>(data.bytes.data()));
    made->size = data.bytes.size();
    made->file = this;
    made->type = type;
    made->id = reference.id;
    made->name = reader_.name(reference);
    ResourceBlock& result = *made;
    blocks_.emplace(key, std::move(made));
    handles().add(result);
    return {noErr, &result};
}

NewResourceFile::~NewResourceFile() {
    for (const ResourceBlockPtr& block : blocks_) {
        handles().remove(*block);
    }
}

std::size_t NewResourceFile::count(std::uint32_t type) {
    return static_cast<std::size_t>(
        std::count_if(blocks_.begin(), blocks_.end(),
                      [&](const ResourceBlockPtr& block) { return block->type == type; }));
}

bool NewResourceFile::holdsType(std::uint32_t type) const {
    return std::any_of(blocks_.begin(), blocks_.end(),
                       [&](const ResourceBlockPtr& block) { return block->type == type; });
}

template <typename Predicate>
OpenResourceFile::Found NewResourceFile::firstThat(Predicate predicate) {
    const auto found =
        std::find_if(blocks_.begin(), blocks_.end(),
                     [&](const ResourceBlockPtr& block) { return predicate(*block); });
    return found != blocks_.end() ? Found{noErr, found->get()} : Found{resNotFound, nullptr};
}

OpenResourceFile::Found NewResourceFile::byIndex(std::uint32_t type, std::size_t index) {
    return firstThat([&](const ResourceBlock& b) { return b.type == type && index-- == 0; });
}

OpenResourceFile::Found NewResourceFile::byId(std::uint32_t type, std::int16_t id) {
    return firstThat([&](const ResourceBlock& b) { return b.type == type && b.id == id; });
}

std::int16_t NewResourceFile::add(ResourceBlockPtr& block) {
    blocks_.reserve(blocks_.size() + 1);
    if (!writer_.add(block->type, block->id, block->name, 0, block->view())) {
        return addResFailed;
    }
    block->file = this;
    blocks_.push_back(std::move(block));
    changed_ = true;
    return noErr;
}

std::int16_t NewResourceFile::markChanged() {
    changed_ = true;
    return noErr;
}

std::int16_t NewResourceFile::update() {
    const int error = changed_ ? write() : 0;
    changed_ = changed_ && error != 0;
    return statusOfErrno(error);
}

// A MacBinary file, since that is what font tools read on systems without forks.
int NewResourceFile::write() {
    const std::vector<std::uint8_t> fork = writer_.build();
    const std::vector<std::uint8_t> bytes = macbinary::makeMacBinary(
        macRomanFromUtf8(path_.filename().string()), info_, {}, ByteView(fork));
    NewFile file;
    int error = file.create(path_);
    if (error == 0) {
        error = file.write(ByteView(bytes));
    }
    const std::string id = file.fileId();
    if (error == 0) {
        error = writtenId_.empty() ? file.commit() : file.replace(writtenId_);
    }
    if (error == 0) {
        writtenId_ = id;
    }
    return error;
}
