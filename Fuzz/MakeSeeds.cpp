#include <boost/filesystem/operations.hpp>
#include <cstdio>
#include <fstream>

#include "Seeds.h"

// make_seeds FOLDER: writes every target's inputs to start from to FOLDER/TARGET/NAME.
int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    for (const auto& [target, inputs] : makeSeeds()) {
        const boost::filesystem::path folder = boost::filesystem::path(argv[1]) / target;
        boost::filesystem::create_directories(folder);
        for (const auto& [name, bytes] : inputs) {
            std::ofstream file((folder / name).string(), std::ios::binary);
            file.write(reinterpret_cast<const char*>(bytes.data()),
                       static_cast<std::streamsize>(bytes.size()));
            if (!file.flush()) {
                std::fprintf(stderr, "cannot write %s\n", (folder / name).c_str());
                return 1;
            }
        }
    }
    return 0;
}
