#include "SuitcaseCopy.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <cerrno>
#include <stdexcept>
#include <vector>

#include "FileDescriptor.h"
#include "FondViews.h"
#include "MacResourceTypes.h"
#include "ParserSupport.h"
#include "ResourceFileSession.h"
#include "ResourceManager.h"

namespace {

namespace fs = boost::filesystem;

struct Resource {
    ResType type = 0;
    std::int16_t id = 0;
    std::vector<std::uint8_t> name;  // Pascal string
    std::vector<std::uint8_t> data;
};

// A status as an exception, so that every way out closes what is open.
class StatusError : public std::runtime_error {
  public:
    explicit StatusError(std::int16_t status)
        : std::runtime_error("status == noErr"), status_(status) {}
    std::int16_t status() const { return status_; }

  private:
    std::int16_t status_;
};

void require(std::int16_t status) {
    if (status != noErr) {
        throw StatusError(status);
    }
}

// A dfont keeps its resources in the data fork.
ForkNameOperation forkOf(const fs::path& file) {
    return hasExtension(file, ".DFONT") ? FSGetDataForkName : FSGetResourceForkName;
}

void collect(ResType type, std::int16_t id, std::vector<Resource>& resources) {
    const bool known = std::any_of(resources.begin(), resources.end(),
                                   [&](const Resource& r) { return r.type == type && r.id == id; });
    const Handle handle = known ? nullptr : Get1Resource(type, id);
    if (handle == nullptr) {
        return;
    }
    Str255 name = {};
    GetResInfo(handle, nullptr, nullptr, name);
    const ByteView bytes = handleBytes(handle);
    resources.push_back(
        {type, id, {name, name + 1 + name[0]}, {bytes.data(), bytes.data() + bytes.size()}});
}

// The family first, then what its entries name, then what else the record has met.
std::vector<Resource> resourcesOf(const OxFont& font, const fs::path& file) {
    ResourceFileSession session;
    session.open(referenceTo(file), forkOf(file));
    std::vector<Resource> resources;
    collect(kFondType,
            static_cast<std::int16_t>(font.getResourceByType(static_cast<int>(kFondType)).second),
            resources);
    if (resources.empty()) {
        throw StatusError(resNotFound);
    }
    const std::vector<std::uint8_t> family = resources.front().data;
    const FondView fond{ByteView(family)};
    const auto last = static_cast<std::int16_t>(fond.entryCountWord());
    for (int i = 0; i <= last; ++i) {
        const auto entry = fond.entry(static_cast<unsigned>(i));
        if (!entry) {
            break;
        }
        if (entry->fontSize > 0) {
            collect(kNfntType, entry->fontID, resources);
            collect(kFontType, entry->fontID, resources);
        } else {
            collect(kSfntType, entry->fontID, resources);
        }
    }
    for (const auto& [type, id] : font.resources()) {
        collect(static_cast<ResType>(type), static_cast<std::int16_t>(id), resources);
    }
    return resources;
}

void write(const std::vector<Resource>& resources, const FSRef& suitcase) {
    HFSUniStr255 forkName;
    require(FSGetResourceForkName(&forkName));
    std::int16_t number = -1;
    require(FSOpenResourceFile(&suitcase, forkName, fsRdWrPerm, &number));
    try {
        for (const Resource& resource : resources) {
            const Handle handle = NewHandle(static_cast<std::int32_t>(resource.data.size()));
            require(ResError());
            std::copy(resource.data.begin(), resource.data.end(), *handle);
            AddResource(handle, resource.type, resource.id, resource.name.data());
            if (const std::int16_t status = ResError(); status != noErr) {
                DisposeHandle(handle);
                throw StatusError(status);
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

bool holdsSame(const fs::path& suitcase, const std::vector<Resource>& resources) {
    try {
        ResourceFileSession session;
        session.open(referenceTo(suitcase), FSGetResourceForkName);
        int held = 0;
        for (const ResType type : {kFondType, kNfntType, kFontType, kSfntType}) {
            held += Count1Resources(type);
        }
        return held == static_cast<int>(resources.size()) &&
               std::all_of(resources.begin(), resources.end(), [](const Resource& r) {
                   const Handle handle = Get1Resource(r.type, r.id);
                   const std::string_view data(reinterpret_cast<const char*>(r.data.data()),
                                               r.data.size());
                   return handle != nullptr && handleBytes(handle).text() == data;
               });
    } catch (const std::runtime_error&) {
        return false;  // no resource file
    }
}

}  // namespace

CopyResult copySuitcase(const OxFont& font, const fs::path& file, const fs::path& folder,
                        const std::string& name) {
    const boost::lock_guard<boost::recursive_mutex> lock(macParsingMutex());
    const std::int16_t current = CurResFile();
    CopyResult result{CopyOutcome::Copied, {}};
    try {
        const std::vector<Resource> resources = resourcesOf(font, file);
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
            } catch (const StatusError& error) {
                status = error.status();
            }
        }
        if (status == dupFNErr) {
            const bool same = holdsSame(folder / name, resources);
            result = {same ? CopyOutcome::Same : CopyOutcome::Differs, {}};
        } else {
            require(status);
        }
    } catch (const StatusError& error) {
        result = CopyResult::failed(systemError(errnoOfStatus(error.status())));
    } catch (const std::runtime_error&) {
        result = CopyResult::failed(systemError(ENOENT));  // the source is no resource file
    }
    UseResFile(current);
    return result;
}
