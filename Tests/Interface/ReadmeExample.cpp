#include <oxparser/OxParser.h>

#include <future>
#include <iostream>

int main(int, char** argv) {
    OxParser parser(argv[1], "", "");  // a folder; no foundry lists of the host's own
    parser.loadFoundryList();          // the library's lists
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
    return done.get_future().get() ? 1 : 0;
}
