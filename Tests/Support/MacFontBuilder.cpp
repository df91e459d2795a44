#include "MacFontBuilder.h"

#include <stdexcept>

#include "BigEndian.h"
#include "SfntBuilder.h"

Bytes FondBuilder::build() const {
    BigEndian fond;
    fond.u16(0).u16(2000).u16(32).u16(255).zeros(8);
    fond.u32(0).u32(0).u32(names.empty() ? 0 : styleTableAt()).zeros(24);
    fond.u16(entries.size() - 1);
    for (const Entry& entry : entries) {
        fond.u16(entry.size).u16(entry.style).u16(entry.id);
    }
    if (!names.empty()) {
        fond.zeros(10);
        for (int style = 0; style < 48; ++style) {
            const auto found = styleIndexes.find(style);
            fond.u8(found != styleIndexes.end() ? found->second : 1);
        }
        fond.u16(names.size());
        for (const std::string& name : names) {
            fond.u8(name.size()).text(name);
        }
    }
    return fond.padTo(60);
}

FondBuilder FondBuilder::helvetica(Entry entry) {
    FondBuilder fond;
    fond.entries = {entry};
    fond.names = {"Helvetica", "\x04\x05", "\x04\x06", "-", "Bold", "Oblique", "\x08\x06", "-Bold"};
    fond.styleIndexes = {{1, 2}, {2, 3}, {3, 7}};
    return fond;
}

Bytes strike(std::size_t size, std::uint32_t first, std::uint32_t last) {
    return BigEndian().u16(0x9000).u16(first).u16(last).padTo(size);
}

FondBuilder FondBuilder::of(std::vector<Entry> entries) {
    FondBuilder fond;
    fond.entries = std::move(entries);
    return fond;
}

Bytes outline(const std::string& postscriptName, std::size_t size) {
    auto names = SfntBuilder::goodNames();
    names[7].text =
        SfntBuilder::utf16(std::u16string(postscriptName.begin(), postscriptName.end()));
    Bytes font = SfntBuilder::goodFont().table("name", SfntBuilder::nameTable(names)).build();
    font.resize(size);
    return font;
}

Bytes compressedResource() {
    return BigEndian().u32(0xA89F6572).padTo(80);
}

ResourceForkBuilder postChunks(const std::vector<std::pair<int, std::string>>& chunks) {
    ResourceForkBuilder fork;
    int id = 501;
    for (const auto& [kind, data] : chunks) {
        fork.add("POST", id++, BigEndian().u8(kind).u8(0).text(data));
    }
    return fork;
}

std::string type1Program() {
    return "%!PS-AdobeFont-1.0: Acme-Bold 001.005\r"
           "11 dict begin\r"
           "/FontInfo 9 dict dup begin\r"
           "/version (001.005) readonly def\r"
           "/Notice (Copyrighted \\251 acme fonts) readonly def\r"
           "/FullName (Acme (TM) Bold) readonly def\r"
           "/FamilyName (Acme) readonly def\r"
           "/isFixedPitch false def\r"
           "end readonly def\r"
           "/FontName /Acme-Bold def\r"
           "/PaintType 0 def\r"
           "/FontType 1 def\r"
           "currentdict end\r"
           "currentfile eexec\r";
}

OpenResources::OpenResources(const Bytes& fork) {
    FSRef file;
    HFSUniStr255 name;
    FSGetDataForkName(&name);
    FSPathMakeRef(folder_.write("resources", fork).c_str(), &file);
    if (FSOpenResourceFile(&file, name, fsRdPerm, &reference_) != noErr) {
        throw std::runtime_error("the fork does not open");
    }
}

OpenResources::~OpenResources() {
    CloseResFile(reference_);
    UseResFile(saved_);
}
