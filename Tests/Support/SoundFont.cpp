#include "SoundFont.h"

BigEndian format4(const std::vector<Segment>& segments) {
    BigEndian out;
    out.u16(4).u16(16 + 8 * segments.size()).u16(0).u16(2 * segments.size()).zeros(6);
    for (const Segment& s : segments) {
        out.u16(s.last);
    }
    out.u16(0);
    for (const Segment& s : segments) {
        out.u16(s.first);
    }
    for (const Segment& s : segments) {
        out.u16(s.delta);
    }
    return out.zeros(2 * segments.size());
}

BigEndian cmap(const std::vector<Encoded>& subtables) {
    BigEndian out;
    out.u16(0).u16(subtables.size());
    std::size_t end = 4 + 8 * subtables.size();
    for (const Encoded& s : subtables) {
        out.u16(s.platform).u16(s.encoding).u32(end);
        end += s.subtable.size();
    }
    for (const Encoded& s : subtables) {
        out.append(s.subtable);
    }
    return out;
}

SfntBuilder soundFont() {
    SfntBuilder font = SfntBuilder::goodFont();
    font.table("cmap", cmap({{3, 1, format4({{'A', 'C', 65536 - 'A' + 1}, {0xFFFF, 0xFFFF, 1}})}}));
    font.table("hhea", BigEndian().u32(0x00010000).u16(800).u16(-200).u16(90).padTo(34).u16(1));
    font.table("hmtx", BigEndian().u16(500).u16(0).zeros(6));
    font.table("loca", BigEndian().zeros(8).u16(3));
    font["head"].checksum = SfntBuilder::checksum(font["head"].data) - 0x12345678;
    return font;
}

Bytes adjusted(const SfntBuilder& builder) {
    SfntBuilder font = builder;
    Bytes& head = font["head"].data;
    patch(head, 8, 4, 0);
    font["head"].checksum = SfntBuilder::checksum(head);
    patch(head, 8, 4, 0xB1B0AFBA - SfntBuilder::checksum(font.build()));
    return font;
}
