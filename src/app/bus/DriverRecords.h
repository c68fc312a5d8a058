// How what a Driver is told and tells travels to another process.
#pragma once

#include <string>

#include "app/Driver.h"
#include "base/PropertyList.h"

namespace siftwell {

// "everything" and "local"; "ask", "extractURLs" and "indexContents".
std::string textOf(Driver::ScanScope scope);
std::string textOf(Driver::FileUse fileUse);
Result<Driver::ScanScope> scanScopeOf(const std::string& text);
Result<Driver::FileUse> fileUseOf(const std::string& text);

// Under the names of its fields.
PropertyList::Dictionary dictionaryOf(const Driver::ScanState& state);
Driver::ScanState scanStateIn(const PropertyList::Dictionary& dictionary);

// Likewise; of the result "code" (as errors are named, "" for success) and "message".
PropertyList::Dictionary dictionaryOf(const Driver::MaintenanceState& state);
Driver::MaintenanceState maintenanceStateIn(const PropertyList::Dictionary& dictionary);

}  // namespace siftwell
