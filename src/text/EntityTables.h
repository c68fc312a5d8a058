// The named entities of HTML that Siftwell decodes, as they are written in a page.
//
// Threads: constants and pure functions. Errors: none.
#pragma once

#include <array>
#include <string_view>

namespace siftwell {

struct Entity {
    std::string_view text;  // "&nbsp;"
    char32_t codePoint;
};

// The order counts: where letter case does not matter the first row wins, so that "&Agrave;" is the
// small letter but "&acirc;" the capital. The code points are those of HTML 4, except that "&and;"
// and "&or;" have long been indexed as U+22A5 and U+22A6 and stay so.
inline constexpr std::array<Entity, 105> kSpecialEncodedCharMap = {
    {{"&nbsp;", 160},    {"&copy;", 169},    {"&reg;", 174},     {"&trade;", 8482},
     {"&amp;", 38},      {"&quot;", 34},     {"&bull;", 8226},   {"&ccedil;", 231},
     {"&agrave;", 224},  {"&aacute;", 225},  {"&egrave;", 232},  {"&eacute;", 233},
     {"&ecirc;", 234},   {"&Agrave;", 192},  {"&Aacute;", 193},  {"&Egrave;", 200},
     {"&Eacute;", 201},  {"&Ecirc;", 202},   {"&iexcl;", 161},   {"&cent;", 162},
     {"&pound;", 163},   {"&curren;", 164},  {"&yen;", 165},     {"&brvbar;", 166},
     {"&sect;", 167},    {"&uml;", 168},     {"&laquo;", 171},   {"&shy;", 173},
     {"&macr;", 175},    {"&deg;", 176},     {"&acute;", 180},   {"&middot;", 183},
     {"&cedil;", 184},   {"&raquo;", 187},   {"&iquest;", 191},  {"&Acirc;", 194},
     {"&Atilde;", 195},  {"&Auml;", 196},    {"&Aring;", 197},   {"&AElig;", 198},
     {"&Ccedil;", 199},  {"&Euml;", 203},    {"&Igrave;", 204},  {"&Iacute;", 205},
     {"&Icirc;", 206},   {"&Iuml;", 207},    {"&ETH;", 208},     {"&Ntilde;", 209},
     {"&Ograve;", 210},  {"&Oacute;", 211},  {"&Ocirc;", 212},   {"&Otilde;", 213},
     {"&Ouml;", 214},    {"&times;", 215},   {"&Oslash;", 216},  {"&Ugrave;", 217},
     {"&Uacute;", 218},  {"&Ucirc;", 219},   {"&Uuml;", 220},    {"&Yacute;", 221},
     {"&THORN;", 222},   {"&szlig;", 223},   {"&acirc;", 226},   {"&atilde;", 227},
     {"&auml;", 228},    {"&aring;", 229},   {"&aelig;", 230},   {"&euml;", 235},
     {"&igrave;", 236},  {"&iacute;", 237},  {"&icirc;", 238},   {"&iuml;", 239},
     {"&eth;", 240},     {"&ntilde;", 241},  {"&ograve;", 242},  {"&oacute;", 243},
     {"&ocirc;", 244},   {"&otilde;", 245},  {"&ouml;", 246},    {"&divide;", 247},
     {"&oslash;", 248},  {"&ugrave;", 249},  {"&uacute;", 250},  {"&ucirc;", 251},
     {"&uuml;", 252},    {"&yacute;", 253},  {"&thorn;", 254},   {"&yuml;", 255},
     {"&and;", 8869},    {"&or;", 8870},     {"&circ;", 710},    {"&tilde;", 732},
     {"&ndash;", 8211},  {"&mdash;", 8212},  {"&lsquo;", 8216},  {"&rsquo;", 8217},
     {"&sbquo;", 8218},  {"&ldquo;", 8220},  {"&rdquo;", 8221},  {"&bdquo;", 8222},
     {"&dagger;", 8224}, {"&Dagger;", 8225}, {"&permil;", 8240}, {"&lsaquo;", 8249},
     {"&rsaquo;", 8250}}};

// Kept out of the table above: they are decoded only when the tags are gone, or an encoded bracket
// would be taken for markup.
inline constexpr std::array<Entity, 2> kGreaterLessMap = {{{"&gt;", U'>'}, {"&lt;", U'<'}}};

// The code point of the first row of kSpecialEncodedCharMap that equals `candidate` in any letter
// case, or 0. A few comparisons, however many rows there are.
char32_t specialCharIgnoringCase(std::string_view candidate);

}  // namespace siftwell
