// Texts of the program as Qt takes them.
//
// Threads: any.
#pragma once

#include <QString>
#include <string>
#include <string_view>

#include "base/Translate.h"

namespace siftwell {

inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// Marks a text for translation and looks it up.
inline QString q_(const char* english) { return toQString(localized(english)); }

// One of two forms by a number, which fills the "%@" in it. Both are marked by N_.
QString counted(const char* one, const char* many, qint64 count);

// As people read it: "…/Müller" rather than "…/M%C3%BCller", and without a password. As it is
// where it is none.
QString readableAddress(const std::string& address);

// Marks a text that is looked up later.
constexpr const char* N_(const char* english) { return english; }

}  // namespace siftwell
