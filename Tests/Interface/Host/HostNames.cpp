// Names everything that a host may rely on, so that renaming or dropping any of it fails to
// compile or link here. Behaviour is tested elsewhere.
#include <oxparser/ErrorCatalogue.h>
#include <oxparser/FontFoundryList.h>
#include <oxparser/ForkLocator.h>
#include <oxparser/FoundryName.h>
#include <oxparser/Keywords.h>
#include <oxparser/OxFontComparer.h>
#include <oxparser/OxFontImporter.h>
#include <oxparser/OxFontSuitcaseMover.h>
#include <oxparser/OxFontUtilitiesMac.h>
#include <oxparser/OxParser.h>
#include <oxparser/OxParserDfontImp.h>
#include <oxparser/OxParserOpenTypeImp.h>
#include <oxparser/OxParserPFBImp.h>
#include <oxparser/OxParserPFMImp.h>
#include <oxparser/OxParserPSOutlineImp.h>
#include <oxparser/OxParserPostscriptImp.h>
#include <oxparser/OxParserSuitcaseImp.h>
#include <oxparser/OxParserTrueTypeCollectionImp.h>
#include <oxparser/OxParserTrueTypeImp.h>
#include <oxparser/OxParserTrueTypeMacImp.h>
#include <oxparser/PfbHeader.h>
#include <oxparser/ResourceManager.h>
#include <oxparser/TokenScanner.h>

#include <cstdio>
#include <cstdlib>
#include <future>
#include <tuple>
#include <type_traits>

namespace {

using FontList = boost::ptr_vector<OxFont>;
using Path = boost::filesystem::path;

// Functions and members that take no more than their names: the linker must find them.
template <typename... Names>
void name(Names... names) {
    const std::tuple<Names...> kept(names...);
    asm volatile("" : : "g"(&kept) : "memory");
}

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::exit(1);
    }
}

// What the host owns of what it is given.
void discard(std::initializer_list<FontList*> lists) {
    for (FontList* const list : lists) {
        delete list;
    }
}

// A parser of a host's own: the contract's slots, and the base's list of records.
class HostParser : public OxParserImp {
  public:
    FontList* parseFontFile(Path) override {
        fonts_.push_back(new OxFont);
        return nullptr;
    }
    bool inspectFont(Path) override { return true; }
    bool diagnoseFont(Path) override { return false; }
    bool repairFont(Path) override { return false; }
};

// What the parsers keep for subclasses.
class KeptState : public OxParserTrueTypeImp {
  public:
    using OxParserTrueTypeImp::OxParserTrueTypeImp;
    bool nothingKept() const { return !italic_ && glyphCount_ == 0 && platformId_ == 2; }
};

void nameRecord() {
    const char* const keys[] = {
        eFontFilePath,   eFileName,   ePlatform,       ePrinterFilePath, eBasename,
        ePostscriptname, eFullname,   eDisplayname,    eFamilyname,      eSubFamilyname,
        eFoundry,        eType,       eCopyright,      eKerningChecksum, eFingerprint,
        eFontVersion,    eUniqueId,   eTrademark,      eWeight,          eWidth,
        eMonospace,      eItalic,     eStyle,          eFontId,          eResourcename,
        eSize,           eStyleType,  eResourceType,   eFntSize,         eMultipleMaster,
        eFontOffset,     eSourcePath, eDestinationPath};
    static_assert(sizeof keys / sizeof *keys == 33);
    static_assert(eWarning == 0 && eError == 1 && eNote == 2);
    static_assert(OxFont::T1 == 0 && OxFont::TT == 1 && OxFont::Bi == 2 && OxFont::DF == 4 &&
                  OxFont::TTF == 5 && OxFont::TTC == 6 && OxFont::OTPS == 7 && OxFont::OTTT == 8 &&
                  OxFont::PFB == 9 && OxFont::T1Outline == 10 && OxFont::T3Outline == 11 &&
                  OxFont::notSure == 20);
    static_assert(std::has_virtual_destructor_v<OxFont>);
    require(OxFont::_fontType.size() == 12, "font type table");

    OxFont font;
    font.setAttribute(eFamilyname, "Acme");
    font.addDiagnostic(eNote, 1);
    font.addDiagnostic(eError, 2, "two");
    font.removeDiagnostic({eNote, 1, ""});
    font.setPrinterFontAttributes({{eFullname, "Acme Bold"}});
    font.printerFontPaths.emplace_back("/p");
    font.setSourceFile("/f");
    OxFont copy(font);
    copy = font;
    require(OxFontComparer(font)(copy) && font.diagnostics().size() == 1, "comparer");
    name(&OxFont::getAttribute, &OxFont::setAttributeAsInt, &OxFont::getAttributeAsInt,
         &OxFont::setFontType, &OxFont::getFontType, &OxFont::getDiagnosticsByType,
         &OxFont::getErrors, &OxFont::getWarnings, &OxFont::getNotes, &OxFont::getNextError,
         &OxFont::addResource, &OxFont::mergeMultipleMasterFont, &OxFont::getResourceCount,
         &OxFont::getResourceByType, &OxFont::getGeneratedSuitcaseName,
         &OxFont::getGeneratedSuitcaseFolder, &OxFont::sourceFile, &OxFont::resources,
         &OxFont::attributes);
}

void namePlainFunctions() {
    ErrorTableEntry entry = {};
    require(GetErrorMessage(10000, &entry) == 1 && entry.code == 10000 && entry.kind == 0 &&
                entry.message != nullptr && errorTable[166].message == nullptr,
            "catalogue");
    require(set_line("12") == 0 && get_next_token() == 0 && tokentype == 4 && tokenlen == 2 &&
                tokenval[0] == '1' && iIndex == 2 && jIndex == 2 && cpLine != nullptr,
            "scanner");
    require(kSymbols[7].id == 1 && kFontInfoSymbols[6].id == 1 && kPS3Symbols[2].id == 4 &&
                sizeof(SymbolMapping) == 36 && sizeof(PfbHeader) == 2048,
            "keywords");
    theFoundries.LoadLists();
    require(theFoundries.FindFoundryFromCode("LINO") != "Unknown", "installed lists");
    name(&XGetFoundryName, static_cast<const char* (*)(const char*, const char*)>(&stristr),
         &ParsePFBHeader, &FontFoundryList::LoadFoundryNames, &FontFoundryList::LoadFoundryCodes,
         &FontFoundryList::FindFoundryFromCopyright);
}

void nameParsers() {
    OxParserTrueTypeImp trueType(0);
    OxParserTrueTypeCollectionImp collection(0);
    OxFont font;
    ttf::tagFontDirectory directory = {};
    const Path missing("/missing");
    discard({trueType.validate(missing), trueType.validate(font, directory, sizeof directory),
             trueType.validate(missing, directory), OxParserOpenTypeImp(0).validate(missing),
             collection.validate(missing), collection.validate(missing, 0),
             OxParserPFBImp().validate(missing), OxParserPFMImp().validate(missing)});
    using Reader = bool (OxParserTrueTypeImp::*)(const ttf::tagTableDirectory*, OxFont&);
    name<Reader>(&OxParserTrueTypeImp::parseCharacterMapTable);
    name<Reader, Reader, Reader, Reader, Reader>(&OxParserTrueTypeImp::parseFontHeaderTable,
                                                 &OxParserTrueTypeImp::parseHorizontalHeaderTable,
                                                 &OxParserTrueTypeImp::parseGlyfTable,
                                                 &OxParserTrueTypeImp::parseHorizontalMetricsTable,
                                                 &OxParserTrueTypeImp::parseGlyfLocationTable);
    name<Reader, Reader, Reader, Reader, Reader>(
        &OxParserTrueTypeImp::parseMaximumProfileTable, &OxParserTrueTypeImp::parseNameTable,
        &OxParserTrueTypeImp::parseOS2Table, &OxParserTrueTypeImp::parsePostscriptTable,
        &OxParserTrueTypeImp::parseKerningTable);
    name(&OxParserOpenTypeImp::parseCompactFontFormatTable, &OxParserTrueTypeImp::preflightTable,
         &OxParserTrueTypeImp::get_name_table_string, &OxParserTrueTypeImp::calcTableChecksum,
         &OxParserTrueTypeImp::getTableStructureSize, &OxParserTrueTypeImp::endian_swaplong,
         &OxParserTrueTypeImp::endian_swapword, &OxParserTrueTypeImp::is_big_endian,
         &OxParserPFMImp::check_T1_kernPairs, &OxParserPFMImp::check_T1_kernTrack,
         &OxParserPFMImp::check_T1_header, &OxParserPFMImp::check_T1_extension,
         &OxParserPFMImp::check_T1_extTextMetrics);
    require(KeptState(2).nothingKept(), "kept state");
}

void nameResourceFiles() {
    static_assert(fsRdPerm == 1 && fsRdWrPerm == 3 && noErr == 0);
    HFSUniStr255 fork;
    FSRef file;
    FSCatalogInfo info;
    info.finderInfo = FinderInfo::of(0x4646494C, 0x444D4F56);
    FSRefParam block;
    block.ref = &file;
    block.catInfo = &info;
    Str255 text = {};
    const ResType type = 0;
    std::int16_t number = -1;
    require(info.fileType() == 0x4646494C && info.fileCreator() == 0x444D4F56 && !info.isFolder &&
                text[0] == type && FSGetDataForkName(&fork) == noErr &&
                FSOpenResourceFile(&file, fork, fsRdPerm, &number) != noErr,
            "resource files");
    const Handle none = nullptr;
    require(CurResFile() == 0 && ResError() == noErr && GetHandleSize(none) == 0 &&
                handleBytes(none).empty(),
            "handles");
    name(&FSGetResourceForkName, &FSPathMakeRef, &FSCreateResourceFile, &FSGetCatalogInfo,
         &PBGetCatalogInfoSync, &UseResFile, &UpdateResFile, &CloseResFile, &DiscardResFile,
         &NewHandle, &DisposeHandle, &HLock, &HUnlock, &AddResource, &WriteResource, &GetResInfo,
         &Get1IndResource, &Get1Resource, &Count1Resources);
    ForkLocator locator;
    require(locator.resourceFork("/missing").status != noErr &&
                !locator.hasForkOutsideFile("/missing") &&
                locator.finderInfo("/missing").place != ForkPlace::eMacBinary,
            "fork location");
}

void nameMacUtilities() {
    using Mac = OxFontUtilitiesMac;
    OxFont font;
    std::string fileName, base;
    const StyleTable styles{ZeroPaddedView(ByteView())};
    Mac::GetBaseFamilyNameFromStyleTable(styles, base);
    Mac::GetNamesForStyle(styles, base, fileName, 0);
    const NameTable names = Mac::GetStyleNamingTableFromStyleMappingTable(&styles);
    const unsigned char pascal[256] = {1, 'A'};
    require(!Mac::isSystemFont(font) && Mac::isValidTrueType(nullptr) &&
                Mac::GetNumStyleNames(names) == 0 && !Mac::NthStyleName(names, 1) &&
                Mac::convertMacRomanToUTF8(pascal) == Mac::convertMacRomanToUTF8("A", 1),
            "names");
    name(&Mac::validateFOND, &Mac::validateAssoc, &Mac::isMultipleMasterStem,
         &Mac::isMultipleMasterFond, &Mac::getMMFamilyName, &Mac::stripMultipleMasterEncoding,
         &Mac::MakeName, &Mac::GetFondStyleMappingTable);
}

void nameMacParsers() {
    const Path missing("/missing");
    const AsscEntry entry = {};
    OxParserTrueTypeMacImp outline;
    OxParserPostscriptImp strike;
    OxParserDfontImp dfont;
    OxParserSuitcaseImp suitcase;
    OxFont font;
    discard({outline.parseFont(missing, nullptr, &entry, 1),
             dfont.parseFont(missing, nullptr, &entry), dfont.validate(missing),
             OxParserPSOutlineImp().parseFontFile(missing), suitcase.validate(missing)});
    require(!outline.validateAssoc(font, &entry) && strike.validateAssoc(font, &entry) &&
                !suitcase.isSuitcase("/missing"),
            "associations");
    outline.setAttributes(missing, &font, nullptr, nullptr);
    strike.setAttributes(missing, font, nullptr, nullptr);
    FontList fonts, families;
    suitcase.addUniqueFont(&fonts, font);
    suitcase.addUniqueFonts(&fonts, new FontList);
    discard({suitcase.collectMultipleMasterFonts(fonts)});
    suitcase.addMultipleMasterFont(families, &font);
    suitcase.addMultipleMasterStemResources(&font);
    require(fonts.size() == 1 && OxParserPSOutlineImp::lookupSymbol("/fontname", kSymbols, 8,
                                                                    sizeof(SymbolMapping)) == 4,
            "lists and symbols");
    name(&OxParserPostscriptImp::parseFont, &OxParserPostscriptImp::fondIsT1TT,
         &OxParserSuitcaseImp::fondIsT1TT);
}

void namePipeline() {
    OxQueue<int> queue;
    queue.push(1);
    queue.clear();
    queue.push(2);
    int item = 0;
    queue.wait_and_pop(item);
    require(item == 2, "queue");

    std::queue<Path> sources;
    sources.push("/missing");
    OxParser noSource("", "");
    OxParser oneSource(Path("/missing"), "", "");
    OxParser parser(sources, "", "");
    OxParser::configure_log4cpp("/missing");
    parser.loadFoundryList("", "");
    parser.loadFoundryList();
    auto* const host = new HostParser;
    parser.addParserImp(host);
    require(parser.parseFile("/any") == nullptr, "host's parser");
    parser.removeParserImp(host);
    std::promise<void> done;
    parser.fileProgressCallbacks.push_back([](int, int, void*) {});
    parser.fontProgressCallbacks.push_back([](int, int, boost::shared_ptr<OxFont>) {});
    parser.fileCompletionCallbacks.push_back([](bool) {});
    parser.fontCompletionCallbacks.push_back([&done](bool) { done.set_value(); });
    parser.walkErrorCallbacks.push_back([](const Path&, const boost::system::error_code&) {});
    parser.run();
    done.get_future().wait();
    name(&OxParser::setTolerantWalk, &OxParser::setLookAhead, &OxParser::NotifyFileProgress,
         &OxParser::NotifyFileCompletion, &OxParser::NotifyFontProgress, &OxParser::getNextPath,
         &OxParser::setTotalFilesToParse, &OxParser::cancel);

    boost::shared_ptr<OxFileFactory::PathQueue> paths(new OxFileFactory::PathQueue);
    boost::shared_ptr<OxFontFactory::FontQueue> fonts(new OxFontFactory::FontQueue);
    OxFileFactory files(&parser, paths);
    OxFontFactory factory(&noSource, paths, fonts);
    OxFileProducer fileProducer(&files);
    OxFileConsumer fileConsumer(&factory);
    OxFontProducer fontProducer(&factory);
    const OxFileFactory noFiles;
    const OxFontFactory noFonts;
    name(&OxFileFactory::findFiles, &OxFileFactory::produceFiles, &OxFileFactory::cancel,
         &OxFileFactory::run, &OxFontFactory::cancel, &OxFontFactory::consumeFiles,
         &OxFontFactory::produceFonts, &OxFontFactory::run);
}

// A mover of a host's own: Move is the slot behind the destructor, and the suitcase mover's own
// operations follow it.
class HostMover : public OxFontSuitcaseMover {
  public:
    using OxFontSuitcaseMover::Move;
    void Move(const Path&, const Path&, boost::shared_ptr<OxFont>&) override { ++moved; }
    void Move(boost::shared_ptr<OxFont>&) override {}
    void MoveFont(boost::shared_ptr<OxFont>&) override {}
    void MoveSuitcase(boost::shared_ptr<OxFont>&) override {}
    void MoveTrueTypeCollection(boost::shared_ptr<OxFont>&) override {}

    int moved = 0;
};

void nameImport() {
    OxFontMover base;
    OxFontMover twoPaths("/missing", "/missing");
    auto font = boost::shared_ptr<OxFont>(new OxFont);
    base.Move("/missing", "/missing/too", font);
    require(base.lastCopy().has_value(), "last copy");

    OxFontImporter nothing;
    OxFontImporter importer(std::queue<Path>(), "/missing", "", "");
    require(importer.createPath("Garamond", "Acme", "g.ttf") == "./G/Garamond/Acme/g.ttf",
            "layout");
    importer.setMover(std::make_unique<HostMover>());
    importer.setCreateFolders(false);
    importer.copyCallbacks.push_back([](const FontCopy&) {});
    importer.fileProgress(1, 1, nullptr);
    font->setAttribute(eFileName, "x.ttf");
    importer.fontProgress(1, 1, font);
    std::promise<void> done;
    importer.parser().fontCompletionCallbacks.push_back([&done](bool) { done.set_value(); });
    importer.import();
    done.get_future().wait();
    require(copyOutcomeName(CopyOutcome::NoFolder) == std::string("no-folder"), "outcome");
}

}  // namespace

int main() {
    nameImport();
    nameRecord();
    namePlainFunctions();
    nameParsers();
    nameMacUtilities();
    nameMacParsers();
    nameResourceFiles();
    namePipeline();
}
