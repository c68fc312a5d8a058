#include "base/Exception.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <typeinfo>

namespace siftwell {

namespace {

std::string typeNameOf(const std::exception& exception) {
    const char* const mangled = typeid(exception).name();
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(mangled, nullptr, nullptr, nullptr), &std::free);
    return name == nullptr ? mangled : name.get();
}

}  // namespace

std::string nameOf(const std::exception& exception) {
    const auto* const named = dynamic_cast<const NamedException*>(&exception);
    return named == nullptr ? typeNameOf(exception) : named->name();
}

}  // namespace siftwell
