#include "MacFontFaces.h"

#include <algorithm>

#include "MacFindings.h"
#include "Md5.h"
#include "PostResources.h"
#include "PrinterFileName.h"
#include "SfntReader.h"
#include "StrikeRecord.h"
#include "Type1Reader.h"

namespace {

constexpr int kEntangled = 20003;
constexpr std::int16_t kFirstProgramId = 501;
constexpr int kType3 = 3;
constexpr double kBoldWeight = 700;
constexpr double kPlainWeight = 400;
// 'FONT' resources are numbered 128 times the family and the size; size 0 has the family's name.
constexpr int kFontsOfFamily = 128;
// What looking at an association entry costs, its place in the index included.
constexpr std::uint64_t kEntryCost = 256;
constexpr std::uint64_t kFaceCost = 4096;
constexpr std::size_t kMostNamedInNote = 8;

bool isFamilyNameOnly(FontResourceType type, std::int16_t id) {
    return type == FontResourceType::eOldStrike && id % kFontsOfFamily == 0;
}

// Families of multiple-master fonts are called after them (`TektoMM_240 RG 564 NO`), the stems
// that such families are made from `%MTekto_…`.
bool isMultipleMaster(const std::string& family) {
    if (family.starts_with("%M")) {
        return family.find('_') != std::string::npos;
    }
    for (std::size_t at = family.find("MM"); at != family.npos; at = family.find("MM", at + 1)) {
        if (at + 2 == family.size() || family[at + 2] == '_' || family[at + 2] == ' ') {
            return true;
        }
    }
    return false;
}

std::string resourceTextOf(const std::vector<std::string_view>& parts, std::int16_t id) {
    std::string name;
    for (const std::string_view part : parts) {
        name += resourceText(part, id);
    }
    return name;
}

std::string fingerprintOf(const FontResource& resource) {
    return resource.status == noErr ? md5Hex(resource.bytes) : std::string();
}

std::string statusText(std::int16_t status) {
    return status == eofErr ? "no resources" : "its map does not lie inside";
}

}  // namespace

MacFontFaces::MacFontFaces(ByteView resourceFile, const ResourceFileOrigin& origin,
                           ForkLocator& forks, FaceContext& context, FontFaces& faces)
    : origin_(origin),
      context_(context),
      faces_(faces),
      printerFonts_(context.file.parent_path(), forks, context.work),
      status_(resources_.open(resourceFile)) {
    container_ = resources_.holds(FontResourceType::eProgram) ? "printer-font"
                 : origin.inDataFork                          ? "dfont"
                                                              : "suitcase";
}

void MacFontFaces::read() {
    if (status_ != noErr) {
        fileFindings_.push_back({finding::kForkDamaged, statusText(status_), {}});
    } else {
        readFamilies();
        noteMapDefects();
        for (std::size_t i = 0; i < families_.size(); ++i) {
            makeFamilyFaces(i);
        }
        makeUnnamedFaces();
        makePrinterFace();
    }
    tellFileFindings();
}

void MacFontFaces::readFamilies() {
    const std::vector<std::int16_t> ids = resources_.ids(FontResourceType::eFamily);
    families_.reserve(ids.size());
    for (const std::int16_t id : ids) {
        FontResource resource = resources_.get(FontResourceType::eFamily, id);
        // The record is at least looked at as far as its count of entries goes.
        if (!context_.work.spend(resource.bytes.size() / 6 * kEntryCost)) {
            exhausted_ = true;
            return;
        }
        families_.push_back({resource, FondRecord(resource.bytes)});
        noteNames(families_.size() - 1);
    }
}

void MacFontFaces::noteNames(std::size_t family) {
    for (const FondEntry& entry : families_[family].record.entries()) {
        std::vector<std::size_t>& names = namedBy_[keyOf(entry)];
        if (names.empty() || names.back() != family) {
            names.push_back(family);
        }
    }
}

void MacFontFaces::noteMapDefects() {
    for (const FontResourceType type :
         {FontResourceType::eFamily, FontResourceType::eOutline, FontResourceType::eStrike,
          FontResourceType::eOldStrike, FontResourceType::eProgram}) {
        if (const std::uint32_t lost = resources_.lostReferences(type)) {
            fileFindings_.push_back({finding::kForkDamaged,
                                     std::to_string(lost) + " resources " + typeText(type) +
                                         " lie past the end of the map",
                                     {}});
        }
        const std::vector<std::int16_t> repeated = resources_.repeatedIds(type);
        if (!repeated.empty()) {
            std::string detail = typeText(type) + " " + std::to_string(repeated.front());
            if (repeated.size() > 1) {
                detail += " and " + std::to_string(repeated.size() - 1) + " others";
            }
            fileFindings_.push_back(
                {finding::kNumberTwice, std::move(detail), placeOf(type, repeated.front())});
        }
    }
}

MacFontFaces::Key MacFontFaces::keyOf(const FondEntry& entry) {
    if (entry.isOutline()) {
        return {FontResourceType::eOutline, entry.id};
    }
    const bool isOld = !resources_.has(FontResourceType::eStrike, entry.id) &&
                       resources_.has(FontResourceType::eOldStrike, entry.id);
    return {isOld ? FontResourceType::eOldStrike : FontResourceType::eStrike, entry.id};
}

bool MacFontFaces::mayMakeFace() {
    if (full_ || exhausted_) {
        return false;
    }
    full_ = faces_.size() >= kMostFaces;
    exhausted_ = !context_.work.spend(kFaceCost);
    return !full_ && !exhausted_;
}

FaceContext MacFontFaces::contextFor(std::string fingerprint) const {
    return {context_.file, context_.details, container_, std::move(fingerprint), context_.work};
}

void MacFontFaces::makeFamilyFaces(std::size_t family) {
    const Family& made = families_[family];
    const FontResource& fond = made.resource;
    const std::size_t before = faces_.size();
    for (const FondEntry& entry : made.record.entries()) {
        const Key key = keyOf(entry);
        if (made_.emplace(key, true).second) {
            makeFace(resources_.get(key.first, key.second), {&made, &entry});
        }
    }
    if (fond.status == noErr && made.record.defects().empty()) {
        return;
    }
    if (faces_.size() == before) {
        if (!mayMakeFace()) {
            return;
        }
        FaceContext context = contextFor(fingerprintOf(fond));
        Face face(faces_, context);
        nameFamily(face, {&made, nullptr});
        setResource(face.record(), fond, {});
    }
    OxFont& record = faces_[before];
    if (fond.status != noErr) {
        addFinding(record, unreadableFinding(fond.status), fond.label(),
                   placeOf(fond.type, fond.id));
    }
    for (const MacDefect& defect :
         fond.status == noErr ? made.record.defects() : std::vector<MacDefect>()) {
        FontDiagnosticPlace place = placeOf(fond.type, fond.id, defect.field);
        place.offset = defect.offset;
        addFinding(record, finding::kFamilyUnreadable, defect.detail, std::move(place));
    }
}

void MacFontFaces::makeUnnamedFaces() {
    for (const FontResourceType type :
         {FontResourceType::eOutline, FontResourceType::eStrike, FontResourceType::eOldStrike}) {
        for (const std::int16_t id : resources_.ids(type)) {
            if (!isFamilyNameOnly(type, id) && made_.emplace(Key(type, id), true).second) {
                makeFace(resources_.get(type, id), {});
            }
        }
    }
}

void MacFontFaces::makeFace(const FontResource& resource, const Member& member) {
    if (!mayMakeFace()) {
        return;
    }
    if (!context_.work.spend(resource.bytes.size())) {
        exhausted_ = true;
    } else if (resource.type == FontResourceType::eOutline) {
        makeOutlineFaces(resource, member);
    } else {
        makeStrikeFace(resource, member);
    }
}

void MacFontFaces::makeOutlineFaces(const FontResource& resource, const Member& member) {
    const std::size_t before = faces_.size();
    FaceContext context = contextFor(fingerprintOf(resource));
    if (resource.status == noErr) {
        readSfnt(resource.bytes, context, faces_);
    } else {
        Face face(faces_, context);
        nameFamily(face, member);
    }
    for (std::size_t i = before; i < faces_.size(); ++i) {
        setResource(faces_[i], resource, member);
    }
}

void MacFontFaces::makeStrikeFace(const FontResource& resource, const Member& member) {
    FaceContext context = contextFor(fingerprintOf(resource));
    Face face(faces_, context);
    face.set("format", "bitmap");
    nameStrike(face, resource, member);
    const bool isPostScript = member.family != nullptr && member.family->record.isPostScript();
    face.record().setFontType(isPostScript ? OxFont::T1 : OxFont::Bi);
    setResource(face.record(), resource, member);
    if (resource.status == noErr) {
        const StrikeRecord strike(resource.bytes);
        face.set("glyphs", static_cast<double>(strike.glyphs));
        for (const MacDefect& defect : strike.defects) {
            FontDiagnosticPlace place = placeOf(resource.type, resource.id, defect.field);
            place.offset = defect.offset;
            face.find(finding::kStrikeUnreadable, defect.detail, std::move(place));
        }
    }
    if (isPostScript) {
        addPrinterFont(face, member);
    }
}

void MacFontFaces::nameFamily(Face& face, const Member& member) {
    if (member.family != nullptr) {
        face.setText("family", member.family->resource.name);
    }
}

void MacFontFaces::nameStrike(Face& face, const FontResource& resource, const Member& member) {
    OxFont& record = face.record();
    record.setAttributeAsInt(eFontId, resource.id);
    if (member.entry == nullptr) {
        // The old numbering tells what no family does.
        if (resource.type == FontResourceType::eOldStrike) {
            const int within = ((resource.id % kFontsOfFamily) + kFontsOfFamily) % kFontsOfFamily;
            const auto family = static_cast<std::int16_t>(resource.id - within);
            face.setText("family", resources_.get(FontResourceType::eOldStrike, family).name);
            face.set("size", within);
        }
        return;
    }
    const FontResource& fond = member.family->resource;
    nameFamily(face, member);
    face.setText("postscriptName",
                 resourceTextOf(member.family->record.nameParts(member.entry->style), fond.id));
    face.set("weight", member.entry->isBold() ? kBoldWeight : kPlainWeight);
    face.set("italic", member.entry->isItalic());
    face.set("size", static_cast<int>(member.entry->size));
    record.setAttributeAsInt(eStyle, member.entry->style);
    record.setAttribute(eMultipleMaster, isMultipleMaster(fond.name) ? "YES" : "NO");
}

void MacFontFaces::addPrinterFont(Face& face, const Member& member) {
    const auto parts = member.family->record.nameParts(member.entry->style);
    const std::string name = resourceText(printerFileName(parts), member.family->resource.id);
    const boost::filesystem::path& path = printerFonts_.find(name);
    if (!path.empty()) {
        face.set("printerFonts", OxPropertyValue::List{path.string()});
        face.record().printerFontPaths.push_back(path);
        face.record().setAttribute(ePrinterFilePath, path.filename().string());
    } else if (!name.empty()) {
        // The strike itself is sound, and its outlines may lie elsewhere or be built into a
        // printer: no error. But without them the family neither scales nor prints well.
        face.find(finding::kPrinterFontMissing, name);
    }
}

void MacFontFaces::setResource(OxFont& record, const FontResource& resource,
                               const Member& member) const {
    record.setAttribute(ePlatform, "Macintosh");
    if (!origin_.fork.empty()) {
        record.setProperty("fork", origin_.fork);
    }
    if (member.family != nullptr) {
        const FontResource& fond = member.family->resource;
        record.addResource(static_cast<int>(fond.type), fond.id);
        record.setAttribute(eResourcename, fond.name);
    }
    const FontDiagnosticPlace place = placeOf(resource.type, resource.id);
    if (!resource.exists) {
        addFinding(record, finding::kResourceMissing, resource.label(), place);
        return;
    }
    record.addResource(static_cast<int>(resource.type), resource.id);
    OxProperties value{{"type", typeText(resource.type)}, {"id", static_cast<int>(resource.id)}};
    if (!resource.name.empty()) {
        value.set("name", resource.name);
    }
    record.setProperty("resource", std::move(value));
    if (resource.type == FontResourceType::eFamily || resource.type == FontResourceType::eProgram) {
        return;  // what holds of them is told by whoever reads them
    }
    if (resource.status == noErr) {
        record.setAttributeAsInt(eFntSize, static_cast<int>(resource.bytes.size()));
    } else {
        addFinding(record, unreadableFinding(resource.status), resource.label(), place);
    }
    addSharingNote(record, resource);
}

void MacFontFaces::addSharingNote(OxFont& record, const FontResource& resource) const {
    const auto named = namedBy_.find({resource.type, resource.id});
    if (named == namedBy_.end() || named->second.size() < 2) {
        return;
    }
    std::string others;
    for (std::size_t i = 1; i < named->second.size(); ++i) {
        if (i > kMostNamedInNote) {
            others += ", …";
            break;
        }
        others += (i == 1 ? "" : ", ") + families_[named->second[i]].resource.name;
    }
    addFinding(record, finding::kSharedResource, "also by " + others,
               placeOf(resource.type, resource.id));
}

void MacFontFaces::makePrinterFace() {
    if (!resources_.holds(FontResourceType::eProgram) || !mayMakeFace()) {
        return;
    }
    const PostProgram program = PostProgram::join(resources_, origin_.dataFork, context_.work);
    // Programs of other kinds are kept so, too; damage may hide what it was.
    const bool isDamaged = std::any_of(
        program.defects.begin(), program.defects.end(),
        [](const PostDefect& defect) { return defect.code != finding::kPostWithoutEnd; });
    if (program.isType1() || (program.exists && isDamaged)) {
        makeProgramFaces(program);
    }
}

void MacFontFaces::makeProgramFaces(const PostProgram& program) {
    const std::size_t before = faces_.size();
    FaceContext context = contextFor(program.fingerprint);
    if (program.isType1()) {
        readType1(ByteView(program.text), context, faces_);
    } else {
        const Face face(faces_, context);
    }
    if (faces_.size() == before) {
        return;
    }
    OxFont& record = faces_[before];
    FontResource first = resources_.get(FontResourceType::eProgram, kFirstProgramId);
    if (first.exists) {
        setResource(record, first, {});
    } else {
        record.setAttribute(ePlatform, "Macintosh");
    }
    record.setFontType(program.fontType() == kType3 ? OxFont::T3Outline : OxFont::T1Outline);
    for (const PostDefect& defect : program.defects) {
        addFinding(record, defect.code, defect.detail,
                   placeOf(FontResourceType::eProgram, defect.id));
    }
}

void MacFontFaces::tellFileFindings() {
    if (full_) {
        addFinding(faces_.back(), finding::kTooManyFaces, std::to_string(kMostFaces));
    }
    if (exhausted_) {
        fileFindings_.push_back({kEntangled, "", {}});
    }
    if (fileFindings_.empty()) {
        return;
    }
    if (faces_.empty()) {
        FaceContext context = contextFor(context_.fingerprint);
        const Face face(faces_, context);
        if (!origin_.fork.empty()) {
            faces_.back().setProperty("fork", origin_.fork);
        }
        faces_.back().setAttribute(ePlatform, "Macintosh");
    }
    for (const Finding& found : fileFindings_) {
        addFinding(faces_.front(), found.code, found.detail, found.where);
    }
}
