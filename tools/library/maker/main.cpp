// Makes the default format library of a build:
//
//     library_maker FILE.afl

#include <exception>
#include <iostream>

#include "tools/library/making.h"

int main(int count, char** arguments) try {
    if (count != 2) {
        std::cerr << "library_maker: Name the library to make, and nothing else.\n";
        return 2;
    }
    tool::MakingOptions options;
    options.path = arguments[1];
    tool::MakeLibrary(options);
    return 0;
} catch (const std::exception& failure) {
    std::cerr << "library_maker: " << failure.what() << "\n";
    return 1;
}
