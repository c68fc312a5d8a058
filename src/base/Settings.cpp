#include "base/Settings.h"

#include <sys/stat.h>

#include <cstdio>
#include <utility>

#include "base/Files.h"
#include "base/PropertyListFormat.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxFileBytes = 64 << 20;

Result<PropertyList::Dictionary> readDictionary(const std::string& file) {
    Result<std::string> bytes = readFile(file, kMaxFileBytes);
    if (!bytes) {
        if (bytes.status().code() == StatusCode::NotFound) return PropertyList::Dictionary();
        return bytes.status();
    }
    const Result<PropertyList> parsed = parsePropertyList(*bytes);
    if (!parsed || parsed->asDictionary() == nullptr) {
        return Status(
            StatusCode::Damaged,
            filledIn(_("The settings file %@ is damaged. Please restore it from a backup, or "
                       "move it away to start with the default settings."),
                     file));
    }
    return *parsed->asDictionary();
}

}  // namespace

Result<std::unique_ptr<Settings>> Settings::open(const std::string& file, Access access,
                                                 RunLoop& mainLoop) {
    Result<PropertyList::Dictionary> values = readDictionary(file);
    if (!values) return values.status();
    return std::unique_ptr<Settings>(new Settings(file, access, mainLoop, std::move(*values)));
}

Settings::Settings(std::string file, Access access, RunLoop& mainLoop,
                   PropertyList::Dictionary values)
    : m_file(std::move(file)),
      m_access(access),
      m_mainLoop(mainLoop),
      m_version(versionOf(m_file)),
      m_values(std::move(values)) {}

Settings::Version Settings::versionOf(const std::string& file) {
    struct stat info {};
    if (stat(file.c_str(), &info) != 0) return {};
    return {info.st_ino, info.st_mtim.tv_sec, info.st_mtim.tv_nsec, info.st_size};
}

void Settings::registerDefaults(PropertyList::Dictionary defaults) {
    MutexLock lock(m_mutex);
    m_defaults = std::move(defaults);
}

PropertyList Settings::value(std::string_view key) const {
    MutexLock lock(m_mutex);
    if (const PropertyList* own = find(m_values, key)) return *own;
    if (const PropertyList* registered = find(m_defaults, key)) return *registered;
    return {};
}

bool Settings::boolean(std::string_view key) const {
    return value(key).asBooleanLenient().value_or(false);
}

std::int64_t Settings::integer(std::string_view key) const {
    return value(key).asIntegerLenient().value_or(0);
}

double Settings::real(std::string_view key) const { return value(key).asRealLenient().value_or(0); }

std::string Settings::string(std::string_view key) const {
    const PropertyList stored = value(key);
    return stored.asString() == nullptr ? std::string() : *stored.asString();
}

std::optional<Date> Settings::date(std::string_view key) const {
    const PropertyList stored = value(key);
    if (stored.asDate() == nullptr) return std::nullopt;
    return *stored.asDate();
}

PropertyList::Array Settings::array(std::string_view key) const {
    PropertyList stored = value(key);
    return stored.asArray() == nullptr ? PropertyList::Array() : std::move(*stored.asArray());
}

std::vector<std::string> Settings::strings(std::string_view key) const {
    std::vector<std::string> result;
    for (const PropertyList& entry : array(key)) {
        if (const std::string* text = entry.asString()) result.push_back(*text);
    }
    return result;
}

PropertyList Settings::userValue(std::string_view key) const {
    MutexLock lock(m_mutex);
    const PropertyList* own = find(m_values, key);
    return own == nullptr ? PropertyList() : *own;
}

void Settings::set(const std::string& key, PropertyList value) {
    {
        MutexLock lock(m_mutex);
        const auto entry = m_values.find(key);
        if (entry != m_values.end() && entry->second == value) return;
        m_values[key] = std::move(value);
        m_changed = true;
    }
    scheduleSave();
}

void Settings::remove(const std::string& key) {
    {
        MutexLock lock(m_mutex);
        if (m_values.erase(key) == 0) return;
        m_changed = true;
    }
    scheduleSave();
}

void Settings::scheduleSave() {
    if (m_access == Access::ReadOnly) return;
    {
        MutexLock lock(m_mutex);
        if (std::exchange(m_saveScheduled, true)) return;
    }
    m_mainLoop.post([self = std::weak_ptr(m_self)] {
        if (const auto alive = self.lock()) (*alive)->saveAndReport();
    });
}

void Settings::saveAndReport() {
    const Status status = save();
    if (status.isOk()) {
        m_saveErrorShown = false;
    } else if (!std::exchange(m_saveErrorShown, true) && m_onSaveError) {
        m_onSaveError(status);
    }
}

void Settings::keepDamagedFileAside() {
    if (versionOf(m_file) == m_version) return;
    const auto values = readDictionary(m_file);
    if (values || values.status().code() != StatusCode::Damaged) return;
    const std::string kept = m_file + ".damaged";
    if (std::rename(m_file.c_str(), kept.c_str()) != 0 || !m_onSaveError) return;
    m_onSaveError({StatusCode::Damaged,
                   filledIn(_("The settings file %@ was damaged while Siftwell was running. It was "
                              "kept as %@ and written anew."),
                            m_file, kept)});
}

Status Settings::save() {
    PropertyList::Dictionary values;
    {
        MutexLock lock(m_mutex);
        m_saveScheduled = false;
        if (!m_changed || m_access == Access::ReadOnly) return {};
        values = m_values;
        m_changed = false;
    }
    keepDamagedFileAside();
    Status status = makePrivateFolder(folderOf(m_file));
    if (status.isOk()) {
        status = writeFileAtomically(m_file, serializePropertyList(std::move(values)));
        m_version = versionOf(m_file);
    }
    if (!status.isOk()) {
        MutexLock lock(m_mutex);
        m_changed = true;
    }
    return status;
}

void Settings::setSaveErrorHandler(std::function<void(const Status&)> handler) {
    m_onSaveError = std::move(handler);
}

}  // namespace siftwell
