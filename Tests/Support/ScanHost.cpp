#include "ScanHost.h"

#include <memory>
#include <thread>
#include <utility>

ScriptedParser::ScriptedParser(Parse parse, Inspect inspect)
    : parse_(std::move(parse)), inspect_(std::move(inspect)) {}

boost::ptr_vector<OxFont>* ScriptedParser::parseFontFile(boost::filesystem::path file) {
    return parse_(file);
}

bool ScriptedParser::inspectFont(boost::filesystem::path file) {
    return inspect_(file);
}

bool ScriptedParser::takesTestFiles(const boost::filesystem::path& file) {
    return file.extension() == ".tst";
}

boost::ptr_vector<OxFont>* ScriptedParser::records(const std::vector<std::string>& names) {
    auto list = std::make_unique<boost::ptr_vector<OxFont>>();
    for (const std::string& name : names) {
        auto font = std::make_unique<OxFont>();
        font->setAttribute(eFullname, name);
        list->push_back(font.release());
    }
    return list.release();
}

boost::ptr_vector<OxFont>* ScriptedParser::oneRecord(const boost::filesystem::path& file) {
    return records({file.filename().string()});
}

ScanHost::ScanHost(OxParser& parser) : parser_(parser) {
    parser.fileProgressCallbacks.push_back(
        [this](int count, int, void*) { found.push_back(count); });
    parser.fileCompletionCallbacks.push_back(
        [this](bool cancelled) { fileCompletions.push_back(cancelled); });
    parser.fontProgressCallbacks.push_back(
        [this](int parsed, int total, const boost::shared_ptr<OxFont>& font) {
            const std::string name = font->getAttribute(eFullname);
            fonts.push_back({parsed, total, name.empty() ? font->getAttribute(eFileName) : name});
        });
    parser.walkErrorCallbacks.push_back(
        [this](const boost::filesystem::path& path, const boost::system::error_code& error) {
            walkErrors.push_back(path.filename().string() + ": " + std::to_string(error.value()));
        });
    parser.fontCompletionCallbacks.push_back([this](bool cancelled) {
        const std::lock_guard lock(mutex_);
        fontCompletions.push_back(cancelled);
        ended_.notify_all();
    });
}

void ScanHost::cancelAt(int files) {
    parser_.fileProgressCallbacks.push_back([this, files](int count, int, void*) {
        if (count == files) {
            std::thread([this] { parser_.cancel(); }).join();
        }
    });
}

void ScanHost::wait() {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [this] { return !fontCompletions.empty(); });
}

void ScanHost::run() {
    parser_.run();
    wait();
}

std::vector<std::string> ScanHost::fontNames() const {
    std::vector<std::string> names;
    for (const Font& font : fonts) {
        names.push_back(font.name);
    }
    return names;
}
