#include "app/ToolConfinement.h"

#include "indexers/IndexerTool.h"

namespace siftwell {

std::optional<ToolConfinement> toolConfinement(const Paths& paths) {
    const auto hello = confinementOfTool(paths.indexerTool);
    if (!hello) return std::nullopt;
    return ToolConfinement{hello->hasFileRules, hello->hasSystemCallFilter};
}

}  // namespace siftwell
