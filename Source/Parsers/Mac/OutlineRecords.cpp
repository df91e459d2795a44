#include "OutlineRecords.h"

#include "MacResourceTypes.h"
#include "OxParserTrueTypeMacImp.h"

OutlineRecords::Result OutlineRecords::of(Handle fond, const AsscEntry& entry) {
    const Handle sfnt = Get1Resource(kSfntType, entry.fontID);
    const ByteView bytes = handleBytes(sfnt);
    const Key key(sfnt != nullptr, bytes.data(), bytes.size(), entry.fontSize == 0);
    const auto known = known_.find(key);
    if (known != known_.end()) {
        return {*known->second, false};
    }
    OxParserTrueTypeMacImp parser;
    std::unique_ptr<boost::ptr_vector<OxFont>> fonts(parser.parseFont(file_, fond, &entry, mode_));
    work_.addWork(parser.bytesWorked());
    return {*known_.emplace(key, std::move(fonts)).first->second, true};
}
