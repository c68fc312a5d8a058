// Log: lines for whoever looks for the cause of something, never for the user's eyes only.
//
// Threads: any. Without a sink, lines go to standard error.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace siftwell {

void writeLog(std::string_view line);

// Where lines go from now on; a null function means standard error again. The sink is called by one
// thread at a time.
void setLogSink(std::function<void(std::string_view line)> sink);

// Appends lines with their time to a private file, which is started anew, once, when it is over
// `maxBytes` (the older lines then stand in the file with the ending ".old").
std::function<void(std::string_view line)> logFileSink(std::string path, std::size_t maxBytes);

}  // namespace siftwell
