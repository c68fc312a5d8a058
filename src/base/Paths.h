// Paths: where the program keeps and finds its files, after the XDG base directories.
#pragma once

#include <optional>
#include <string>

namespace siftwell {

// Empty where neither the environment nor the user's account names a home folder.
struct Paths {
    std::string settingsFile;     // $XDG_CONFIG_HOME/siftwell/com.velotrin.Siftwell.plist
    std::string oldIndexFolder;   // $XDG_CONFIG_HOME/Siftwell Index
    std::string applicationData;  // $XDG_DATA_HOME; empty when there is no home folder
    std::string stateFolder;      // $XDG_STATE_HOME/siftwell: lock file, logs
    std::string
        resourceFolder;       // <prefix>/share/siftwell/Contents/Resources, or in the source tree
    std::string indexerTool;  // <prefix>/libexec/SiftwellIndexer, or beside the program

    static Paths ofThisUser();

    // A file below the resource folder by its name and type ("StopWords", "txt"), if it is there.
    std::optional<std::string> resource(const std::string& name, const std::string& type) const;
};

std::string programFolder();                          // where the running program lies
std::string homeFolder();                             // "" when unknown
std::string expandingTilde(const std::string& path);  // "~/x" and "~user/x"

// What the variable of the environment names, or else a folder below the home folder ("/.config");
// "" when that is unknown. It must be absolute; a relative one is ignored, as the XDG rules ask.
std::string baseFolder(const char* variable, const char* belowHome);

}  // namespace siftwell
