#include "support/Pages.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "text/Encodings.h"

namespace siftwell::bench {

namespace {

std::string madeHtml(std::size_t number, std::size_t paragraphs) {
    std::string page =
        "<!DOCTYPE html>\n<html>\n<head>\n  <meta charset=\"utf-8\">\n  <title>Notes &amp; "
        "Queries</title>\n  <style>p { margin: 0 }</style>\n</head>\n<body>\n";
    for (std::size_t i = 0; i < paragraphs; ++i) {
        page += "  <p class=\"n" + std::to_string(i) + "\">The <a href=\"/page?n=1&amp;m=2\">bird" +
                std::to_string(number * i % 977) +
                "</a> of the caf\xC3\xA9 stands on one leg &mdash; always.\n    <span>See</span> "
                "<em>also</em> egret" +
                std::to_string((number + i) % 61) + ".</p>\n";
        if (i % 20 == 0) page += "  <script>if (a < b) { count(1) }</script>\n";
    }
    return page + "</body>\n</html>\n";
}

}  // namespace

std::vector<std::filesystem::path> pageFiles() {
    std::vector<std::filesystem::path> files;
    const char* const folders = std::getenv("SIFTWELL_BENCH_PAGES");
    std::istringstream list(folders == nullptr ? "" : folders);
    for (std::string folder; std::getline(list, folder, ':');) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            const std::string extension = entry.path().extension();
            if (!entry.is_regular_file() || (extension != ".html" && extension != ".htm")) continue;
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

Page readPage(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    return {file.string(), decodePage(bytes, "utf-8").value_or("")};
}

std::vector<Page> makePages(std::size_t count) {
    std::vector<Page> pages;
    for (std::size_t i = 0; i < count; ++i) {
        pages.push_back({"page" + std::to_string(i), madeHtml(i, 5 + 7000 * i / (20 * count))});
    }
    return pages;
}

}  // namespace siftwell::bench
