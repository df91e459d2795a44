#include <oxparser/OxParser.h>

#include <boost/filesystem/operations.hpp>
#include <future>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2 || !boost::filesystem::exists(argv[1])) {
        std::cerr << "usage: host FOLDER, one that is there\n";
        return 2;
    }
    OxParser parser(argv[1], "", "");  // a folder; no foundry lists of the host's own
    parser.loadFoundryList();          // the library's lists
    parser.setTolerantWalk(true);      // what cannot be read is told, the rest goes on
    bool complete = true;
    parser.walkErrorCallbacks.push_back([&](const auto& path, const auto& error) {
        std::cerr << path.string() << ": " << error.message() << "\n";
        complete = false;
    });
    parser.fontProgressCallbacks.push_back([](int parsed, int total, boost::shared_ptr<OxFont> f) {
        std::cout << parsed << "/" << total << " " << f->getAttribute(eFullname) << " ("
                  << f->getAttribute(eType) << ")\n";
        std::string text;
        for (int i = 0, code = 0; f->getNextError(i, code, text); ++i) {
            std::cout << "    " << code << " " << text << "\n";
        }
    });
    std::promise<bool> done;
    parser.fontCompletionCallbacks.push_back([&](bool cancelled) { done.set_value(cancelled); });
    parser.run();  // walks, then parses in the background
    return !done.get_future().get() && complete ? 0 : 1;
}
