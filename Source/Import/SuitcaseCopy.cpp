#include "SuitcaseCopy.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <set>
#include <utility>
#include <vector>

#include "ErrorStatus.h"
#include "FondViews.h"
#include "MacResourceTypes.h"
#include "ParserSupport.h"
#include "ResourceFileSession.h"
#include "ResourceManager.h"

namespace {

namespace fs = boost::filesystem;
using boost::system::error_code;

// A resource of the source file, which is open as long as the views are used. Many references of a
// hostile map may name the same bytes: copies of them could take any amount of memory.
struct Resource {
    ResType type = 0;
    std::int16_t id = 0;
    std::vector<std::uint8_t> name;  // Pascal string
    ByteView data;
};

void require(std::int16_t status) {
    if (status != noErr) {
        const error_code error = errorOfStatus(status);
        throw ForkError("status == noErr", status, {error, error.message()});
    }
}

// A dfont keeps its resources in the data fork.
ForkNameOperation forkOf(const fs::path& file) {
    return hasExtension(file, ".DFONT") ? FSGetDataForkName : FSGetResourceForkName;
}

// What is copied: resources of the current file, each once, in the order of asking.
class Collection {
  public:
    void add(ResType type, std::int16_t id) {
        const Handle handle = known_.emplace(type, id).second ? Get1Resource(type, id) : nullptr;
        if (handle == nullptr) {
            return;
        }
        Str255 name = {};
        GetResInfo(handle, nullptr, nullptr, name);
        resources_.push_back({type, id, {name, name + 1 + name[0]}, handleBytes(handle)});
    }
    const std::vector<Resource>& resources() const { return resources_; }

  private:
    std::set<std::pair<ResType, std::int16_t>> known_;
    std::vector<Resource> resources_;
};

// The family first, then what its entries name, then what else the record has met.
std::vector<Resource> resourcesOf(const OxFont& font) {
    Collection collection;
    collection.add(kFondType, static_cast<std::int16_t>(
                                  font.getResourceByType(static_cast<int>(kFondType)).second));
    require(collection.resources().empty() ? resNotFound : noErr);
    for (const AsscEntry& entry : FondView(collection.resources().front().data).entries()) {
        if (entry.fontSize > 0) {
            collection.add(kNfntType, entry.fontID);
            collection.add(kFontType, entry.fontID);
        } else {
            collection.add(kSfntType, entry.fontID);
        }
    }
    for (const auto& [type, id] : font.resources()) {
        collection.add(static_cast<ResType>(type), static_cast<std::int16_t>(id));
    }
    return collection.resources();
}

void write(const std::vector<Resource>& resources, const FSRef& suitcase) {
    HFSUniStr255 forkName;
    require(FSGetResourceForkName(&forkName));
    std::int16_t number = -1;
    require(FSOpenResourceFile(&suitcase, forkName, fsRdWrPerm, &number));
    try {
        for (const Resource& resource : resources) {
            const Handle handle = NewHandle(static_cast<std::int32_t>(resource.data.size()));
            require(handle == nullptr ? memFullErr : noErr);
            std::copy_n(resource.data.text().data(), resource.data.size(), *handle);
            AddResource(handle, resource.type, resource.id, resource.name.data());
            if (const std::int16_t status = ResError(); status != noErr) {
                DisposeHandle(handle);
                require(status);
            }
            WriteResource(handle);
            require(ResError());
        }
        UpdateResFile(number);
        require(ResError());
    } catch (...) {
        DiscardResFile(number);
        throw;
    }
    CloseResFile(number);
}

// What a taken name means: the file there may hold the same.
CopyResult compareWith(const fs::path& suitcase, const std::vector<Resource>& resources) {
    ResourceFileSession session;
    try {
        session.open(referenceTo(suitcase), FSGetResourceForkName);
    } catch (const ForkError& error) {
        const bool isNoSuitcase =
            error.status() == fnfErr || error.status() == eofErr || error.status() == mapReadErr;
        return isNoSuitcase ? CopyResult{CopyOutcome::eDiffers, {}}
                            : CopyResult::failed(error.trouble().error);
    }
    int held = 0;
    for (const ResType type : {kFondType, kNfntType, kFontType, kSfntType}) {
        held += Count1Resources(type);
    }
    const bool same = held == static_cast<int>(resources.size()) &&
                      std::all_of(resources.begin(), resources.end(), [](const Resource& r) {
                          const Handle handle = Get1Resource(r.type, r.id);
                          return handle != nullptr && handleBytes(handle).text() == r.data.text();
                      });
    return {same ? CopyOutcome::eSame : CopyOutcome::eDiffers, {}};
}

}  // namespace

CopyResult copySuitcase(const OxFont& font, const fs::path& file, const fs::path& folder,
                        const std::string& name) {
    const boost::lock_guard<boost::recursive_mutex> lock(macParsingMutex());
    CopyResult result{CopyOutcome::eCopied, {}};
    try {
        ResourceFileSession session;
        session.open(referenceTo(file), forkOf(file));
        const std::vector<Resource> resources = resourcesOf(font);
        FSRef parent;
        require(FSPathMakeRef(folder.c_str(), &parent));
        HFSUniStr255 forkName;
        require(FSGetResourceForkName(&forkName));
        FSCatalogInfo info;
        info.finderInfo = FinderInfo::of(fourCharCode("FFIL"), fourCharCode("DMOV"));
        FSRef suitcase;
        std::int16_t status = FSCreateResourceFile(&parent, name, info, forkName, &suitcase);
        if (status == noErr) {
            try {
                write(resources, suitcase);
            } catch (const ForkError& error) {
                status = error.status();
            }
        }
        if (status == dupFNErr) {
            result = compareWith(folder / name, resources);
        } else {
            require(status);
        }
    } catch (const ForkError& error) {
        result = CopyResult::failed(error.trouble().error);
    }
    return result;
}
