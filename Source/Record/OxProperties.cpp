#include "OxProperties.h"

#include <algorithm>

OxPropertyValue::OxPropertyValue() = default;
OxPropertyValue::OxPropertyValue(std::string text) : value_(std::move(text)) {}
OxPropertyValue::OxPropertyValue(std::string_view text) : value_(std::string(text)) {}
OxPropertyValue::OxPropertyValue(const char* text) : value_(std::string(text)) {}
OxPropertyValue::OxPropertyValue(bool flag) : value_(flag) {}
OxPropertyValue::OxPropertyValue(double number) : value_(number) {}
OxPropertyValue::OxPropertyValue(int number) : value_(static_cast<double>(number)) {}
OxPropertyValue::OxPropertyValue(unsigned number) : value_(static_cast<double>(number)) {}
OxPropertyValue::OxPropertyValue(long number) : value_(static_cast<double>(number)) {}
OxPropertyValue::OxPropertyValue(unsigned long number) : value_(static_cast<double>(number)) {}
OxPropertyValue::OxPropertyValue(List list) : value_(std::move(list)) {}
OxPropertyValue::OxPropertyValue(OxProperties object) : value_(Object{}) {
    std::get<Object>(value_).one.push_back(std::move(object));
}
OxPropertyValue::OxPropertyValue(const OxPropertyValue& other) = default;
OxPropertyValue::OxPropertyValue(OxPropertyValue&& other) noexcept = default;
OxPropertyValue& OxPropertyValue::operator=(const OxPropertyValue& other) = default;
OxPropertyValue& OxPropertyValue::operator=(OxPropertyValue&& other) noexcept = default;
OxPropertyValue::~OxPropertyValue() = default;

const OxProperties* OxPropertyValue::object() const {
    const auto* object = std::get_if<Object>(&value_);
    return object == nullptr ? nullptr : &object->one.front();
}

bool OxPropertyValue::operator==(const OxPropertyValue& other) const {
    return value_ == other.value_;
}

bool OxPropertyValue::Object::operator==(const Object& other) const {
    return one == other.one;
}

OxProperties::OxProperties() = default;

OxProperties::OxProperties(std::initializer_list<Entry> entries) {
    for (const Entry& entry : entries) {
        set(entry.first, entry.second);
    }
}

void OxProperties::set(std::string_view name, OxPropertyValue value) {
    insert(entries_.size(), name, std::move(value));
}

void OxProperties::insert(std::size_t position, std::string_view name, OxPropertyValue value) {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [name](const Entry& entry) { return entry.first == name; });
    if (found != entries_.end()) {
        found->second = std::move(value);
        return;
    }
    const auto place = std::min(position, entries_.size());
    entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(place),
                    Entry(std::string(name), std::move(value)));
}

void OxProperties::remove(std::string_view name) {
    std::erase_if(entries_, [name](const Entry& entry) { return entry.first == name; });
}

const OxPropertyValue* OxProperties::find(std::string_view name) const {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [name](const Entry& entry) { return entry.first == name; });
    return found == entries_.end() ? nullptr : &found->second;
}
