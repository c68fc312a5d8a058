// What indexes and documents are called.
//
// Threads: pure functions.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/SWNotifier.h"
#include "base/Url.h"
#include "fulltext/Types.h"

namespace siftwell {

// The name of the index for documents of a source with a scheme, which is also its file's name: the
// source, precomposed, with the scheme in lower case as extension, or the source alone. What would
// leave the index folder, hide the file, not fit into a name or be taken for a side file is escaped
// ("a/b" becomes "a%2Fb").
std::string indexNameForSource(std::string_view source, std::string_view scheme);

// Whether files with the extension stand beside indexes: side files, files that are about to become
// indexes, and damaged ones that were set aside.
bool isExtensionBesideIndexes(std::string_view extension);

// The name of the index that a file was: without what isExtensionBesideIndexes() tells.
std::string_view indexNameOfFile(std::string_view fileName);

// The scheme of an index, by its name: its extension. Empty when it has none.
std::string schemeOfIndexName(std::string_view indexName);

// The source of an index, by its name: what stands before the extension.
std::string sourceOfIndexName(std::string_view indexName);

// Whether the name is that of a legacy monthly index ("2009.04").
bool isMonthlyIndexName(std::string_view indexName);

// The identity of a document: its address's scheme, and the rest of the address, shortened when it
// has 256 characters or more (a file's never is). The shortened name keeps the host and as many
// components from the end as fit, with the length and the character sum of what was left out in
// between, so that it stays near 255 characters and yet distinct. None for an address of more than
// 65,535 characters, which is reported.
std::optional<fulltext::DocumentKey> skDocumentForURL(const Url& url, SWNotifier& notifier);

// The sum of the bytes, each taken as a signed number.
int characterSum(std::string_view text);

// The address of a document, as far as its identity tells.
std::string addressOfDocument(const fulltext::DocumentKey& key);

}  // namespace siftwell
