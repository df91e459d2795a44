// Reads each file named on standard input, one a line, and digests it with OpenSSL's MD5: the
// single-threaded minimum that a scan's time is compared with.
#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

int main() {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                          &EVP_MD_CTX_free);
    std::vector<unsigned char> piece(128 * 1024);
    for (std::string name; std::getline(std::cin, name);) {
        const int file = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
        if (file < 0) {
            std::cerr << name << ": cannot be opened\n";
            continue;
        }
        EVP_DigestInit_ex(context.get(), EVP_md5(), nullptr);
        for (ssize_t n; (n = ::read(file, piece.data(), piece.size())) > 0;) {
            EVP_DigestUpdate(context.get(), piece.data(), static_cast<std::size_t>(n));
        }
        ::close(file);
        unsigned char digest[16];
        EVP_DigestFinal_ex(context.get(), digest, nullptr);
        for (const unsigned char byte : digest) {
            std::printf("%02x", byte);
        }
        std::printf("  %s\n", name.c_str());
    }
}
