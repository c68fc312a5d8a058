// Settings: the user's values in a property-list file, above defaults that are never written.
//
// Threads: any may read and set. A value that was set is read back at once; the file is written on
// the main thread, once for all changes that came meanwhile, and holds either its old or its new
// contents whenever the program stops.
// Errors: a file that cannot be read or is damaged is never overwritten: `open` says so instead. A
// failed save is told to the handler, once until a save succeeds, and is tried again with the next
// change. A file that somebody damaged since it was read or written is kept aside
// ("NAME.damaged") by the next save, which writes what is in memory, and told to the handler; one
// that was deleted is written again.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/Mutex.h"
#include "base/PropertyList.h"
#include "base/RunLoop.h"
#include "base/Status.h"

namespace siftwell {

class Settings {
public:
    enum class Access { ReadWrite, ReadOnly };  // read-only: changes live in memory alone

    // A missing file is an empty one. The folder is made when the first value is saved.
    static Result<std::unique_ptr<Settings>> open(const std::string& file, Access access,
                                                  RunLoop& mainLoop);

    // Values that keys have for as long as the user's file has none.
    void registerDefaults(PropertyList::Dictionary defaults);

    // Null when the key has neither a user's value nor a default.
    PropertyList value(std::string_view key) const;

    bool boolean(std::string_view key) const;          // false when absent
    std::int64_t integer(std::string_view key) const;  // 0 when absent
    double real(std::string_view key) const;           // 0 when absent
    std::string string(std::string_view key) const;    // "" when absent
    std::optional<Date> date(std::string_view key) const;
    PropertyList::Array array(std::string_view key) const;
    std::vector<std::string> strings(std::string_view key) const;  // the strings of an array

    // What the user's file alone holds under the key, or null.
    PropertyList userValue(std::string_view key) const;

    void set(const std::string& key, PropertyList value);
    void remove(const std::string& key);

    // Writes what changed since the last save now. Main thread.
    Status save();

    void setSaveErrorHandler(std::function<void(const Status&)> handler);

    const std::string& file() const { return m_file; }

private:
    Settings(std::string file, Access access, RunLoop& mainLoop, PropertyList::Dictionary values);

    // Tells one version of the file from another.
    struct Version {
        std::uint64_t inode = 0;
        std::int64_t modifiedSeconds = 0;
        std::int64_t modifiedNanoseconds = 0;
        std::int64_t bytes = 0;
        bool operator==(const Version&) const = default;
    };

    static Version versionOf(const std::string& file);  // all 0 when there is none
    void keepDamagedFileAside();
    void scheduleSave();
    void saveAndReport();

    const std::string m_file;
    const Access m_access;
    RunLoop& m_mainLoop;
    std::function<void(const Status&)> m_onSaveError;  // main thread
    bool m_saveErrorShown = false;                     // main thread
    Version m_version;                                 // main thread; as it was read or written

    mutable Mutex m_mutex;
    PropertyList::Dictionary m_defaults SW_GUARDED_BY(m_mutex);
    PropertyList::Dictionary m_values SW_GUARDED_BY(m_mutex);
    bool m_changed SW_GUARDED_BY(m_mutex) = false;
    bool m_saveScheduled SW_GUARDED_BY(m_mutex) = false;

    // Lets a posted save find out that the settings are gone.
    std::shared_ptr<Settings*> m_self = std::make_shared<Settings*>(this);
};

}  // namespace siftwell
