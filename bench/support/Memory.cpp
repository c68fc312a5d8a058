#include "support/Memory.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

namespace siftwell::bench {

double memory(const char* line) {
    std::ifstream status("/proc/self/status");
    for (std::string text; std::getline(status, text);) {
        if (text.rfind(line, 0) == 0) {
            return std::strtod(text.c_str() + std::strlen(line), nullptr) / 1024;
        }
    }
    return 0;
}

}  // namespace siftwell::bench
