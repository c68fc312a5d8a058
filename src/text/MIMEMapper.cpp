#include "text/MIMEMapper.h"

#include <algorithm>
#include <array>

namespace siftwell {

namespace {

struct Row {
    std::string_view extension;
    std::string_view type;
};

constexpr bool standsBefore(const Row& a, const Row& b) { return a.extension < b.extension; }

// In the order of the extensions. "cab" and "pdf" are odd and meant.
constexpr std::array<Row, 66> kTypes = {{
    {"ai", "application/postscript"},
    {"aif", "audio/x-aiff"},
    {"aifc", "audio/x-aiff"},
    {"aiff", "audio/x-aiff"},
    {"au", "audio/basic"},
    {"avi", "video/x-msvideo"},
    {"bin", "application/octet-stream"},
    {"c", "text/plain"},
    {"c++", "text/plain"},
    {"cab", "application/x-shockwave-flash"},
    {"cc", "text/plain"},
    {"cdf", "application/x-netcdf"},
    {"dump", "application/octet-stream"},
    {"dvi", "application/x-dvi"},
    {"eps", "application/postscript"},
    {"etx", "text/x-setext"},
    {"exe", "application/octet-stream"},
    {"fm", "application/x-mif"},
    {"gif", "image/gif"},
    {"gtar", "application/x-gtar"},
    {"h", "text/plain"},
    {"hdf", "application/x-hdf"},
    {"hqx", "application/mac-binhex40"},
    {"htm", "text/html"},
    {"html", "text/html"},
    {"ief", "image/ief"},
    {"java", "text/plain"},
    {"jpe", "image/jpeg"},
    {"jpeg", "image/jpeg"},
    {"jpg", "image/jpeg"},
    {"mif", "application/x-mif"},
    {"mime", "message/rfc822"},
    {"mov", "video/quicktime"},
    {"mpe", "video/mpeg"},
    {"mpeg", "video/mpeg"},
    {"mpg", "video/mpeg"},
    {"nc", "application/x-netcdf"},
    {"oda", "application/oda"},
    {"pdf", "application/x-pdf"},
    {"pl", "text/plain"},
    {"png", "image/png"},
    {"ps", "application/postscript"},
    {"psd", "application/photoshop"},
    {"qt", "video/quicktime"},
    {"rgb", "image/x-rgb"},
    {"rss", "application/rss+xml"},
    {"rtf", "application/rtf"},
    {"saveme", "application/octet-stream"},
    {"shar", "application/x-shar"},
    {"snd", "audio/basic"},
    {"src", "application/x-wais-source"},
    {"swf", "application/x-shockwave-flash"},
    {"tar", "application/x-tar"},
    {"tex", "text/plain"},
    {"text", "text/plain"},
    {"tif", "image/x-tiff"},
    {"tiff", "image/x-tiff"},
    {"tsv", "text/tab-separated-values"},
    {"txt", "text/plain"},
    {"uu", "application/octet-stream"},
    {"wav", "audio/x-wav"},
    {"wsrc", "application/x-wais-source"},
    {"xbm", "image/x-xbitmap"},
    {"xml", "application/xml"},
    {"xpm", "image/x-xpixmap"},
    {"xwd", "image/x-xwindowdump"},
}};
static_assert(std::is_sorted(kTypes.begin(), kTypes.end(), standsBefore));

}  // namespace

const MIMEMapper& MIMEMapper::sharedMapper() {
    static const MIMEMapper mapper;
    return mapper;
}

std::optional<std::string_view> MIMEMapper::mimeTypeForExtension(std::string_view extension) const {
    const auto found =
        std::lower_bound(kTypes.begin(), kTypes.end(), Row{extension, {}}, standsBefore);
    if (found == kTypes.end() || found->extension != extension) return std::nullopt;
    return found->type;
}

}  // namespace siftwell
