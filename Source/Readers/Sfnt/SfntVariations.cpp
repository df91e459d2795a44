#include "SfntVariations.h"

#include <algorithm>

namespace {

constexpr int kVersion = 20112;
constexpr int kSizes = 20113;

constexpr SfntTag kFvar = fourCharCode("fvar");
constexpr std::uint32_t kAxisSize = 20;
constexpr std::uint64_t kValueWork = 128;  // what is kept of a number and its name

double fixed(std::int32_t value) {
    return value / 65536.0;
}

// Reads a 'fvar' table for one font.
class VariationsReader {
  public:
    VariationsReader(SfntFont& font, SfntNames& names, const FontTable& table)
        : font_(font), names_(names), table_(table), bytes_(table.bytes) {}

    void read();

  private:
    OxProperties axis(std::uint64_t offset);
    OxProperties instance(std::uint64_t offset);
    void readAxes();
    void readInstances();
    void setName(OxProperties& row, unsigned id);
    void tellSizes(const char* field, std::uint64_t offset, std::uint64_t found,
                   std::uint64_t least);

    SfntFont& font_;
    SfntNames& names_;
    const FontTable& table_;
    ByteView bytes_;
    std::uint64_t start_ = 0;  // of the axes
    std::uint32_t axisCount_ = 0;
    std::uint32_t axisSize_ = 0;
    std::vector<std::string> tags_;
};

void VariationsReader::tellSizes(const char* field, std::uint64_t offset, std::uint64_t found,
                                 std::uint64_t least) {
    font_.find(kSizes, std::to_string(found) + ", should be at least " + std::to_string(least),
               font_.place(table_, field, offset));
}

void VariationsReader::setName(OxProperties& row, unsigned id) {
    if (std::string name = names_.text(id); !name.empty()) {
        row.set("name", std::move(name));
    }
}

OxProperties VariationsReader::axis(std::uint64_t offset) {
    OxProperties row;
    tags_.push_back(tagText(bytes_.u32be(offset)));
    row.set("tag", tags_.back());
    setName(row, bytes_.u16be(offset + 18));
    row.set("min", fixed(bytes_.s32be(offset + 4)));
    row.set("default", fixed(bytes_.s32be(offset + 8)));
    row.set("max", fixed(bytes_.s32be(offset + 12)));
    return row;
}

OxProperties VariationsReader::instance(std::uint64_t offset) {
    OxProperties row;
    setName(row, bytes_.u16be(offset));
    OxProperties coordinates;
    for (std::size_t i = 0; i < tags_.size(); ++i) {
        coordinates.set(tags_[i], fixed(bytes_.s32be(offset + 4 + 4 * i)));
    }
    row.set("coordinates", std::move(coordinates));
    return row;
}

void VariationsReader::readAxes() {
    OxPropertyValue::List axes;
    for (std::uint32_t i = 0; i < axisCount_ && font_.spend(8 * kValueWork); ++i) {
        axes.emplace_back(axis(start_ + std::uint64_t{i} * axisSize_));
    }
    font_.face().set("axes", std::move(axes));
}

void VariationsReader::readInstances() {
    const std::uint32_t count = bytes_.u16be(12, "instanceCount");
    const std::uint32_t size = bytes_.u16be(14, "instanceSize");
    if (count > 0 && size < 4 + 4 * axisCount_) {
        return tellSizes("instanceSize", 14, size, 4 + 4 * axisCount_);
    }
    const std::uint64_t first = start_ + std::uint64_t{axisCount_} * axisSize_;
    static_cast<void>(bytes_.slice(first, count, size, "instances"));
    // A coordinate is put beside those that the instance has already.
    const std::uint64_t work = (axisCount_ + 1) * (kValueWork + std::uint64_t{4} * axisCount_);
    OxPropertyValue::List instances;
    for (std::uint32_t i = 0; i < count && font_.spend(work); ++i) {
        instances.emplace_back(instance(first + std::uint64_t{i} * size));
    }
    font_.face().set("instances", std::move(instances));
}

void VariationsReader::read() {
    const unsigned major = bytes_.u16be(0, "majorVersion");
    if (major != 1) {
        font_.find(kVersion, std::to_string(major) + ", should be 1",
                   font_.place(table_, "majorVersion"));
        return;
    }
    start_ = bytes_.u16be(4, "axesArrayOffset");
    axisCount_ = bytes_.u16be(8, "axisCount");
    axisSize_ = bytes_.u16be(10, "axisSize");
    if (axisCount_ > 0 && axisSize_ < kAxisSize) {
        return tellSizes("axisSize", 10, axisSize_, kAxisSize);
    }
    static_cast<void>(bytes_.slice(start_, axisCount_, axisSize_, "axes"));
    readAxes();
    readInstances();
}

}  // namespace

void readVariations(SfntFont& font, SfntNames& names) {
    if (const FontTable* table = font.table(kFvar)) {
        font.attempt(*table, [&] { VariationsReader(font, names, *table).read(); });
    }
}
