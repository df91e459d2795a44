#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ByteView.h"
#include "ErrorStatus.h"
#include "FinderInfo.h"
#include "ForkLocator.h"
#include "ResourceFile.h"
#include "ResourceFileWriter.h"

class OpenResourceFile;

/// What a handle of the Resource Manager stands for. The handle is the address of `data`.
struct ResourceBlock {
    char* data = nullptr;
    std::size_t size = 0;
    std::vector<char> owned;                 // the bytes of a block that lies in no fork
    const OpenResourceFile* file = nullptr;  // null: no resource
    std::uint32_t type = 0;
    std::int16_t id = 0;
    std::string name;  // Mac Roman

    ByteView view() const { return ByteView(reinterpret_cast<const std::uint8_t*>(data), size); }
};
using ResourceBlockPtr = std::unique_ptr<ResourceBlock>;

/// The blocks behind the handles that are in use; what is no handle is not found here.
class ResourceHandles {
  public:
    ResourceBlock* find(char** handle) const;
    void add(ResourceBlock& block) { blocks_.emplace(&block.data, &block); }
    void remove(ResourceBlock& block) { blocks_.erase(&block.data); }

  private:
    std::unordered_map<char**, ResourceBlock*> blocks_;
};

/// One reference to an open resource file. Owns the blocks behind its handles.
class OpenResourceFile {
  public:
    struct Found {
        std::int16_t status = noErr;
        ResourceBlock* block = nullptr;
    };

    explicit OpenResourceFile(ResourceHandles& handles) : handles_(handles) {}
    OpenResourceFile(const OpenResourceFile&) = delete;
    OpenResourceFile& operator=(const OpenResourceFile&) = delete;
    virtual ~OpenResourceFile() = default;

    virtual std::size_t count(std::uint32_t type) = 0;
    virtual bool holdsType(std::uint32_t type) const = 0;
    /// Counted from 0. Null with resNotFound when there is none, with CantDecompress when it is
    /// compressed.
    virtual Found byIndex(std::uint32_t type, std::size_t index) = 0;
    virtual Found byId(std::uint32_t type, std::int16_t id) = 0;

    /// Takes a block as a new resource; it stays the caller's unless the answer is noErr.
    virtual std::int16_t add(ResourceBlockPtr& block) = 0;
    virtual std::int16_t markChanged() = 0;
    /// Writes what is not on disk yet.
    virtual std::int16_t update() = 0;

  protected:
    ResourceHandles& handles() { return handles_; }

  private:
    ResourceHandles& handles_;
};

/// A fork in memory, open for reading. Its handles point into the fork.
class ForkInMemory : public OpenResourceFile {
  public:
    ForkInMemory(ResourceHandles& handles, ForkBytes bytes)
        : OpenResourceFile(handles), bytes_(std::move(bytes)) {}
    ~ForkInMemory() override;

    [[nodiscard]] std::int16_t open() { return reader_.open(ByteView(*bytes_)); }

    std::size_t count(std::uint32_t type) override { return reader_.references(type).size(); }
    bool holdsType(std::uint32_t type) const override { return reader_.holdsType(type); }
    Found byIndex(std::uint32_t type, std::size_t index) override;
    Found byId(std::uint32_t type, std::int16_t id) override;
    std::int16_t add(ResourceBlockPtr&) override { return wrPermErr; }
    std::int16_t markChanged() override { return wrPermErr; }
    std::int16_t update() override { return noErr; }

  private:
    Found block(std::uint32_t type, const ResourceFile::Reference& reference);

    ForkBytes bytes_;
    ResourceFile reader_;
    std::map<std::pair<std::uint32_t, std::uint32_t>, ResourceBlockPtr> blocks_;
};

/// A file in the making, open for writing; update() puts it on disk.
class NewResourceFile : public OpenResourceFile {
  public:
    NewResourceFile(ResourceHandles& handles, boost::filesystem::path path, const FinderInfo& info)
        : OpenResourceFile(handles), path_(std::move(path)), info_(info) {}
    ~NewResourceFile() override;

    std::size_t count(std::uint32_t type) override;
    bool holdsType(std::uint32_t type) const override;
    Found byIndex(std::uint32_t type, std::size_t index) override;
    Found byId(std::uint32_t type, std::int16_t id) override;
    std::int16_t add(ResourceBlockPtr& block) override;
    std::int16_t markChanged() override;
    std::int16_t update() override;

  private:
    template <typename Predicate>
    Found firstThat(Predicate predicate);
    /// Writes and puts into place; an errno value.
    [[nodiscard]] int write();

    boost::filesystem::path path_;
    FinderInfo info_;
    ResourceFileWriter writer_;
    std::vector<ResourceBlockPtr> blocks_;
    bool changed_ = true;  // a file without resources is a file, too
    std::string writtenId_;
};
