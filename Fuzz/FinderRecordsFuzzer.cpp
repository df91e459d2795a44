#include "AfpInfo.h"
#include "CapFinderInfo.h"
#include "Check.h"
#include "EtherShare.h"
#include "FileNames.h"
#include "FuzzTarget.h"
#include "PcExchange.h"
#include "XinetAncillary.h"

namespace {

constexpr std::size_t kRecordSize = 92;

// The small files in which servers and systems keep Finder information.
void run(ByteView input) {
    std::string longest;
    const auto exists = [&](const std::string& name) {
        check(!name.empty() && name.size() <= 12 && name.find('/') == name.npos, "an 8.3 name");
        longest = std::max(longest, name);
        return true;
    };
    const FinderDat dat(input, exists);
    check(dat.size() <= input.size() / kRecordSize, "no more records than there is room for");
    if (dat.size() != 0) {
        const auto* record = dat.find(longest);
        check(record == nullptr || dat.find(record->shortName) == record, "a record by its name");
    }
    check(FinderDat(input, [](const std::string&) { return false; }).size() == 0,
          "no records of files that are not there");
    const std::string folded = foldedName(input.text());
    check(foldedName(folded) == folded, "a folded name stays as it is");
    const std::string canonical = canonicalName(input.text());
    check(canonicalName(canonical) == canonical, "a canonical name stays as it is");
    check(!isPlainAscii(input.text()) || canonical == input.text(), "plain ASCII is canonical");
    finderInfoOfAfpInfo(input);
    finderInfoOfCap(input);
    ethershare::finderInfoOfEtherShare(input);
    ethershare::finderInfoOfUShare(input);
    finderInfoOfXinet(input, input.clamped(254, 32).text());
}

const FuzzTarget target("FinderRecords", run);

}  // namespace
