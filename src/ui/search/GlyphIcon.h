// Pictures of the actions on a page, for desktops whose icon theme has none: thin lines in the
// colour of the palette's text, at every size.
//
// Threads: main.
#pragma once

#include <QIcon>

namespace siftwell {

enum class Glyph { Open, Copy, Remove, Filter, Preview };

QIcon glyphIcon(Glyph glyph);

}  // namespace siftwell
