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

#include <boost/filesystem/operations.hpp>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <type_traits>

namespace {

using FontList = boost::ptr_vector<OxFont>;
using Path = boost::filesystem::path;

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::exit(1);
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
    font.setAttributeAsInt(eWeight, 400);
    require(font.getAttributeAsInt(eWeight) == 400 && font.getAttribute(eFamilyname) == "Acme",
            "attributes");
    font.setFontType(OxFont::TTF);
    require(font.getFontType() == 5, "font type");
    font.addDiagnostic(eNote, 1);
    font.addDiagnostic(eError, 2, "two");
    font.removeDiagnostic({eNote, 1, ""});
    std::vector<int> codes;
    std::vector<std::string> texts;
    font.getDiagnosticsByType(eError, codes, texts);
    font.getErrors(codes, texts);
    font.getWarnings(codes, texts);
    font.getNotes(codes, texts);
    int code = 0;
    std::string text;
    require(font.getNextError(0, code, text) && codes.size() == 2, "diagnostics");
    font.setPrinterFontAttributes({{eFullname, "Acme Bold"}});
    font.addResource(1, 2);
    font.mergeMultipleMasterFont(font);
    require(font.getResourceCount(1) == 2 && font.getResourceByType(1).second == 2, "resources");
    font.printerFontPaths.emplace_back("/p");
    require(
        font.getGeneratedSuitcaseName().empty() && font.getGeneratedSuitcaseFolder() == "Unknown",
        "suitcase names");
    font.setSourceFile("/f");
    require(font.sourceFile() == "/f" && font.diagnostics().size() == 1 &&
                font.resources().size() == 2 && !font.attributes().empty(),
            "views");
    OxFont copy(font);
    copy = font;
    require(OxFontComparer(font)(copy), "comparer");
}

void namePlainFunctions() {
    ErrorTableEntry entry = {};
    require(GetErrorMessage(10000, &entry) == 1 && entry.code == 10000 && entry.kind == 0 &&
                entry.message != nullptr && errorTable[166].code == -9999 &&
                errorTable[166].message == nullptr,
            "catalogue");
    char out[1024] = {};
    require(XGetFoundryName("nothing", out) == 0 && stristr("abc", "B") != nullptr, "foundry name");
    require(set_line("12") == 0 && get_next_token() == 0 && tokentype == 4 && tokenlen == 2 &&
                tokenval[0] == '1' && iIndex == 2 && jIndex == 2 && cpLine != nullptr,
            "scanner");
    char buffer[2049] = {};
    PfbHeader header = {};
    require(ParsePFBHeader(buffer, &header) == 0 && sizeof header == 2048, "header");
    require(kSymbols[7].id == 1 && kFontInfoSymbols[6].id == 1 && kPS3Symbols[2].id == 4 &&
                sizeof(SymbolMapping) == 36,
            "keywords");
    theFoundries.LoadLists();
    theFoundries.LoadFoundryNames("/missing");
    theFoundries.LoadFoundryCodes("/missing");
    require(theFoundries.FindFoundryFromCode("LINO") != "Unknown", "installed lists");
    require(theFoundries.FindFoundryFromCopyright("") == "Unknown", "foundry list");
}

void nameParsers() {
    OxParserTrueTypeImp trueType(0);
    OxParserOpenTypeImp openType(0);
    OxParserTrueTypeCollectionImp collection(0);
    OxParserPFBImp pfb;
    OxParserPFMImp pfm;
    OxFont font;
    ttf::tagFontDirectory directory = {};
    ttf::tagTableDirectory table = {};
    const ttf::tagNameRecord name = {};
    const unsigned char storage[2] = {};
    const Path missing("/missing");
    for (FontList* fonts :
         {trueType.validate(missing), trueType.validate(font, directory, sizeof directory),
          trueType.validate(missing, directory), openType.validate(missing),
          collection.validate(missing), collection.validate(missing, 0), pfb.validate(missing),
          pfm.validate(missing)}) {
        delete fonts;
    }
    bool (OxParserTrueTypeImp::*const readers[])(const ttf::tagTableDirectory*, OxFont&) = {
        &OxParserTrueTypeImp::parseCharacterMapTable,
        &OxParserTrueTypeImp::parseFontHeaderTable,
        &OxParserTrueTypeImp::parseHorizontalHeaderTable,
        &OxParserTrueTypeImp::parseGlyfTable,
        &OxParserTrueTypeImp::parseHorizontalMetricsTable,
        &OxParserTrueTypeImp::parseGlyfLocationTable,
        &OxParserTrueTypeImp::parseMaximumProfileTable,
        &OxParserTrueTypeImp::parseNameTable,
        &OxParserTrueTypeImp::parseOS2Table,
        &OxParserTrueTypeImp::parsePostscriptTable,
        &OxParserTrueTypeImp::parseKerningTable};
    for (const auto reader : readers) {
        (trueType.*reader)(&table, font);
    }
    openType.parseCompactFontFormatTable(&table, font);
    trueType.preflightTable(&table, font, 0);
    trueType.get_name_table_string(&name, storage);
    const std::uint32_t word = 0;
    require(trueType.calcTableChecksum(&word, 4) == 0 &&
                OxParserTrueTypeImp::getTableStructureSize(0x68656164) == 46 &&
                OxParserTrueTypeImp::endian_swaplong(1) == 0x01000000 &&
                OxParserTrueTypeImp::endian_swapword(1) == 0x0100 &&
                !OxParserTrueTypeImp::is_big_endian(),
            "sfnt helpers");
    require(KeptState(2).nothingKept(), "kept state");
    bool (OxParserPFMImp::*const noChecks[])(OxFont&) = {&OxParserPFMImp::check_T1_kernPairs,
                                                         &OxParserPFMImp::check_T1_kernTrack};
    for (const auto check : noChecks) {
        require((pfm.*check)(font), "PFM checks");
    }
    static_cast<void>(&OxParserPFMImp::check_T1_header);
    static_cast<void>(&OxParserPFMImp::check_T1_extension);
    static_cast<void>(&OxParserPFMImp::check_T1_extTextMetrics);
}

constexpr ResType kFamilyType = 0x464F4E44;

// Writes a suitcase with one family and looks at it through every operation.
void nameResourceFiles(const Path& folder) {
    HFSUniStr255 resourceFork, dataFork;
    FSRef parent, file;
    FSCatalogInfo info;
    info.finderInfo = FinderInfo::of(0x4646494C, 0x444D4F56);
    std::int16_t number = -1;
    const std::int16_t saved = CurResFile();
    require(FSGetResourceForkName(&resourceFork) == noErr &&
                FSGetDataForkName(&dataFork) == noErr &&
                FSPathMakeRef(folder.c_str(), &parent) == noErr &&
                FSCreateResourceFile(&parent, "Names", info, resourceFork, &file) == noErr &&
                FSOpenResourceFile(&file, resourceFork, fsRdWrPerm, &number) == noErr &&
                CurResFile() == number,
            "new resource file");
    const Handle added = NewHandle(60);
    AddResource(added, kFamilyType, 128, reinterpret_cast<const std::uint8_t*>("\4Acme"));
    WriteResource(added);
    UpdateResFile(number);
    CloseResFile(number);

    const Path path = folder / "Names";
    FSRefParam block;
    block.ref = &file;
    block.catInfo = &info;
    require(FSPathMakeRef(path.c_str(), &file) == noErr &&
                FSGetCatalogInfo(&file, &info) == noErr && PBGetCatalogInfoSync(&block) == noErr &&
                info.fileType() == 0x4646494C && info.fileCreator() == 0x444D4F56 && !info.isFolder,
            "catalog information");
    require(FSOpenResourceFile(&file, resourceFork, fsRdPerm, &number) == noErr, "open");
    const Handle family = Get1IndResource(kFamilyType, 1);
    std::int16_t id = 0;
    ResType type = 0;
    Str255 name = {};
    GetResInfo(family, &id, &type, name);
    HLock(family);
    require(family == Get1Resource(kFamilyType, 128) && Count1Resources(kFamilyType) == 1 &&
                GetHandleSize(family) == 60 && handleBytes(family).size() == 60 && id == 128 &&
                type == kFamilyType && name[0] == 4 && ResError() == noErr,
            "resources");
    HUnlock(family);
    CloseResFile(number);
    UseResFile(saved);
    require(CurResFile() == saved, "current file");
    DisposeHandle(NewHandle(0));
    DiscardResFile(-1);
    ForkLocator locator;
    require(locator.resourceFork(path).status == noErr && !locator.hasForkOutsideFile(path) &&
                locator.finderInfo(path).place == ForkPlace::eMacBinary,
            "fork location");

    OxParserSuitcaseImp suitcase;
    require(suitcase.isSuitcase(path.c_str()), "suitcase");
    delete suitcase.validate(path);
    boost::filesystem::remove(path);
}

void nameMacUtilities() {
    using Mac = OxFontUtilitiesMac;
    OxFont font;
    require(!Mac::validateFOND(font, 1) && Mac::validateAssoc(font, -1, 0) &&
                !Mac::isSystemFont(font) && Mac::isValidTrueType(nullptr),
            "validation");
    require(Mac::isMultipleMasterStem("%M_") && Mac::isMultipleMasterFond("AMM") &&
                Mac::getMMFamilyName("AcmeMM") == "Acme",
            "multiple masters");
    std::string text = "Acme_400";
    Mac::stripMultipleMasterEncoding(text);
    require(text == "Acme", "multiple master encoding");
    std::string fileName, base;
    Mac::MakeName(fileName, "Helvetica", true);
    const StyleTable styles{ZeroPaddedView(ByteView())};
    const NameTable names = Mac::GetStyleNamingTableFromStyleMappingTable(&styles);
    Mac::GetBaseFamilyNameFromStyleTable(styles, base);
    Mac::GetNamesForStyle(styles, base, fileName, 0);
    const unsigned char pascal[256] = {1, 'A'};
    require(fileName == "Helve" && Mac::GetNumStyleNames(names) == 0 &&
                !Mac::NthStyleName(names, 1) && Mac::convertMacRomanToUTF8(pascal) == "A" &&
                Mac::convertMacRomanToUTF8("A", 1) == "A",
            "names");
    static_cast<void>(&Mac::GetFondStyleMappingTable);
}

void nameMacParsers() {
    const Path missing("/missing");
    const AsscEntry entry = {};
    OxParserTrueTypeMacImp outline;
    OxParserPostscriptImp strike;
    OxParserPSOutlineImp printerFont;
    OxParserDfontImp dfont;
    OxParserSuitcaseImp suitcase;
    OxFont font;
    static_cast<void>(&OxParserPostscriptImp::parseFont);
    for (FontList* fonts :
         {outline.parseFont(missing, nullptr, &entry, 1), dfont.parseFont(missing, nullptr, &entry),
          printerFont.parseFontFile(missing), dfont.validate(missing),
          suitcase.validate(missing)}) {
        delete fonts;
    }
    require(!outline.validateAssoc(font, &entry) && strike.validateAssoc(font, &entry) &&
                !suitcase.isSuitcase("/missing"),
            "associations");
    outline.setAttributes(missing, &font, nullptr, nullptr);
    strike.setAttributes(missing, font, nullptr, nullptr);
    FontList fonts, families;
    require(!strike.fondIsT1TT(&fonts) && !suitcase.fondIsT1TT(&fonts), "mixed lists");
    suitcase.addUniqueFont(&fonts, font);
    suitcase.addUniqueFonts(&fonts, new FontList);
    delete suitcase.collectMultipleMasterFonts(fonts);
    suitcase.addMultipleMasterFont(families, &font);
    suitcase.addMultipleMasterStemResources(&font);
    require(fonts.size() == 1 && OxParserPSOutlineImp::lookupSymbol("/fontname", kSymbols, 8,
                                                                    sizeof(SymbolMapping)) == 4,
            "lists and symbols");
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
    parser.setTolerantWalk(true);
    parser.setLookAhead(2);
    std::promise<void> done;
    parser.fileProgressCallbacks.push_back([](int, int, void*) {});
    parser.fontProgressCallbacks.push_back([](int, int, boost::shared_ptr<OxFont>) {});
    parser.fileCompletionCallbacks.push_back([](bool) {});
    parser.fontCompletionCallbacks.push_back([&done](bool) { done.set_value(); });
    parser.walkErrorCallbacks.push_back([](const Path&, const boost::system::error_code&) {});
    parser.run();
    done.get_future().wait();
    parser.NotifyFileProgress(1, 1, nullptr);
    parser.NotifyFileCompletion(false);
    parser.NotifyFontProgress(1, 1, boost::shared_ptr<OxFont>());
    require(parser.getNextPath().empty(), "sources");
    parser.setTotalFilesToParse(3);
    parser.cancel();

    boost::shared_ptr<OxFileFactory::PathQueue> paths(new OxFileFactory::PathQueue);
    boost::shared_ptr<OxFontFactory::FontQueue> fonts(new OxFontFactory::FontQueue);
    OxFileFactory files(&parser, paths);
    files.findFiles("/missing");
    files.produceFiles();
    files.cancel();
    files.run();
    OxFontFactory factory(&noSource, paths, fonts);
    factory.cancel();
    factory.consumeFiles();
    factory.produceFonts();
    OxFileProducer fileProducer(&files);
    OxFileConsumer fileConsumer(&factory);
    OxFontProducer fontProducer(&factory);
    static_cast<void>(&OxFontFactory::run);
    const OxFileFactory noFiles;
    const OxFontFactory noFonts;
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
    nameResourceFiles(boost::filesystem::current_path());
    namePipeline();
}
