// A settings file of any bytes: it opens exactly when it holds a dictionary, every value can be
// asked for as every type, and a change is written beside what was there.

#include <string>

#include "Require.h"
#include "base/PropertyListFormat.h"
#include "base/Settings.h"
#include "support/TemporaryFolder.h"
#include "support/TestRunLoop.h"

namespace {

using namespace siftwell;
using fuzz::require;

void askForEverything(const Settings& settings, const std::string& key) {
    settings.boolean(key);
    settings.integer(key);
    settings.real(key);
    settings.date(key);
    settings.string(key);
    require(settings.strings(key).size() <= settings.array(key).size());
}

class World {
public:
    void run(std::string_view bytes) {
        m_folder.write("settings", bytes);
        const auto values = parsePropertyList(bytes);
        const bool isDictionary = values && values->asDictionary() != nullptr;
        auto settings = open();
        require(settings.isOk() == isDictionary);
        if (!isDictionary) return;
        for (const auto& [key, value] : *values->asDictionary()) {
            askForEverything(**settings, key);
        }
        change(**settings, *values->asDictionary());
    }

private:
    Result<std::unique_ptr<Settings>> open() {
        return Settings::open(m_folder.file("settings"), Settings::Access::ReadWrite, m_loop);
    }

    void change(Settings& settings, PropertyList::Dictionary values) {
        settings.set("changed", 1);
        values["changed"] = 1;
        require(settings.save().isOk());
        const auto again = open();
        require(again && (*again)->integer("changed") == 1);
        const auto stored = parsePropertyList(m_folder.read("settings"));
        require(stored && stored->asDictionary()->size() <= values.size());
        m_loop.drain();
    }

    TemporaryFolder m_folder;
    TestClock m_clock;
    TestRunLoop m_loop{m_clock};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static World world;
    world.run(fuzz::asText(data, size));
    return 0;
}
