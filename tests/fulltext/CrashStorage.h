// CrashStorage: files in memory that can lose their power.
//
// Every change is an operation with a number. From a chosen operation on nothing happens any more,
// and every call fails; the operation itself may be torn. What is left is what a killed program
// leaves (all that happened), or what a power cut leaves (all that was synced, and of the rest
// whatever the disk happened to write). All files lie in one folder.
//
// Threads: any.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Oracle.h"
#include "base/Mutex.h"
#include "fulltext/Storage.h"

namespace siftwell::fulltext {

class CrashStorage : public Storage {
public:
    // A file's bytes, shared by all who have it open.
    struct Inode {
        std::string bytes;
        std::string synced;
        struct Write {
            std::uint64_t offset;
            std::string bytes;
            bool isCut = false;  // the file ends at the offset
        };
        std::vector<Write> unsynced;
        bool isLocked = false;
    };

    // Nothing happens from this operation on, to no file or only to those with `among` in their
    // name.
    void failFrom(std::uint64_t operation, std::string among = "") {
        m_lastOperation = operation;
        m_failing = std::move(among);
    }
    std::uint64_t operations() const { return m_operations; }
    bool hasFailed() const { return m_operations >= m_lastOperation; }

    // Another computer with what this one's disk holds after a kill.
    std::unique_ptr<CrashStorage> afterKill() const {
        auto other = std::make_unique<CrashStorage>();
        for (const auto& [path, inode] : m_names.back()) other->put(path, inode->bytes);
        return other;
    }

    // …after a power cut: of what was not synced, every write may have reached the disk in full, in
    // part (unless it is as short as a sector), or not at all, in any order; names are as they were
    // at the last sync of the folder or at any moment since.
    std::unique_ptr<CrashStorage> afterPowerCut(Random& random) const {
        auto other = std::make_unique<CrashStorage>();
        const int moment = pick(random, static_cast<int>(m_names.size()));
        for (const auto& [path, inode] : m_names[static_cast<std::size_t>(moment)]) {
            std::string bytes = inode->synced;
            for (const Inode::Write& write : inode->unsynced) {
                const auto size = static_cast<int>(write.bytes.size());
                const int chance = pick(random, 3);
                if (chance == 0) continue;
                const int kept = chance == 1 || size <= 512 ? size : pick(random, size + 1);
                apply(bytes, {write.offset, write.bytes.substr(0, static_cast<std::size_t>(kept)),
                              write.isCut});
            }
            other->put(path, bytes);
        }
        return other;
    }

    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> files;
        for (const auto& [path, inode] : m_names.back()) files[path] = inode->bytes;
        return files;
    }

    Result<std::unique_ptr<StorageFile>> open(const std::string& path, Mode mode) override;
    Result<std::unique_ptr<StorageFile>> openTemporary(const std::string& path) override;
    Status rename(StorageFile& file, const std::string& to) override;
    Status remove(const std::string& path) override;
    Status syncFolderOf(const std::string& path) override;
    bool isNamed(const StorageFile& file, const std::string& path) override;

private:
    friend class CrashFile;
    using Names = std::map<std::string, std::shared_ptr<Inode>>;

    static void apply(std::string& bytes, const Inode::Write& write) {
        if (write.isCut) bytes.resize(write.offset);
        if (write.bytes.empty()) return;
        bytes.resize(std::max(bytes.size(), write.offset + write.bytes.size()));
        bytes.replace(write.offset, write.bytes.size(), write.bytes);
    }

    void put(const std::string& path, const std::string& bytes) {
        auto inode = std::make_shared<Inode>();
        inode->bytes = inode->synced = bytes;
        m_names.back()[path] = inode;
    }

    Names& changeNames() {
        m_names.push_back(Names(m_names.back()));
        return m_names.back();
    }

    // Whether the next operation happens; when it is the last one, only half of it does.
    enum class Fate { Happens, IsTorn, Never };
    Fate nextFate(const std::string& path) SW_REQUIRES(m_mutex) {
        ++m_operations;
        const bool isSpared = path.find(m_failing) == std::string::npos;
        if (m_operations < m_lastOperation || isSpared) return Fate::Happens;
        return m_operations == m_lastOperation ? Fate::IsTorn : Fate::Never;
    }
    static Status lostPower() { return {StatusCode::Failed, "The power is gone."}; }

    mutable Mutex m_mutex;
    std::vector<Names> m_names{1};  // since the last sync of the folder; the last one is now
    std::uint64_t m_operations = 0;
    std::uint64_t m_lastOperation = UINT64_MAX;
    std::string m_failing;
};

class CrashFile : public StorageFile {
public:
    CrashFile(CrashStorage& storage, std::shared_ptr<CrashStorage::Inode> inode, std::string path)
        : m_storage(storage), m_inode(std::move(inode)), m_path(std::move(path)) {}
    ~CrashFile() override {
        if (m_hasLock) m_inode->isLocked = false;
    }

    const std::string& path() const override { return m_path; }

    Result<std::string> readAt(std::uint64_t offset, std::size_t count) const override {
        MutexLock lock(m_storage.m_mutex);
        if (offset > m_inode->bytes.size() || count > m_inode->bytes.size() - offset) {
            return Status(StatusCode::Damaged, "The file is cut short.");
        }
        return m_inode->bytes.substr(offset, count);
    }

    Status writeAt(std::uint64_t offset, std::string_view bytes) override {
        return change({offset, std::string(bytes)});
    }

    Result<std::uint64_t> size() const override {
        MutexLock lock(m_storage.m_mutex);
        return static_cast<std::uint64_t>(m_inode->bytes.size());
    }

    Status truncate(std::uint64_t size) override { return change({size, "", true}); }

    Status sync() override {
        MutexLock lock(m_storage.m_mutex);
        if (m_storage.nextFate(m_path) != CrashStorage::Fate::Happens) {
            return CrashStorage::lostPower();
        }
        m_inode->synced = m_inode->bytes;
        m_inode->unsynced.clear();
        return {};
    }

    Result<std::unique_ptr<Mapping>> map(std::uint64_t offset, std::size_t count) const override {
        struct Copy : Mapping {
            explicit Copy(std::string b) : held(std::move(b)) {}
            std::string_view bytes() const override { return held; }
            std::string held;
        };
        auto bytes = readAt(offset, count);
        if (!bytes) return bytes.status();
        return std::unique_ptr<Mapping>(std::make_unique<Copy>(*std::move(bytes)));
    }

    Status lockForWriting() override {
        MutexLock lock(m_storage.m_mutex);
        if (m_inode->isLocked) return {StatusCode::Busy, "locked"};
        m_hasLock = m_inode->isLocked = true;
        return {};
    }

    void unlockForWriting() override {
        MutexLock lock(m_storage.m_mutex);
        if (m_hasLock) m_hasLock = m_inode->isLocked = false;
    }

private:
    friend class CrashStorage;

    Status change(CrashStorage::Inode::Write write) {
        MutexLock lock(m_storage.m_mutex);
        const auto fate = m_storage.nextFate(m_path);
        const bool isTorn = fate == CrashStorage::Fate::IsTorn;
        if (fate == CrashStorage::Fate::Never || (isTorn && write.isCut)) {
            return CrashStorage::lostPower();
        }
        if (isTorn) write.bytes.resize(write.bytes.size() / 2);
        CrashStorage::apply(m_inode->bytes, write);
        m_inode->unsynced.push_back(std::move(write));
        return isTorn ? CrashStorage::lostPower() : Status();
    }

    CrashStorage& m_storage;
    std::shared_ptr<CrashStorage::Inode> m_inode;
    std::string m_path;
    bool m_hasLock = false;
};

inline Result<std::unique_ptr<StorageFile>> CrashStorage::open(const std::string& path, Mode mode) {
    MutexLock lock(m_mutex);
    const bool isThere = m_names.back().contains(path);
    if (mode != Mode::CreateNew) {
        if (!isThere) return Status(StatusCode::NotFound, "no " + path);
    } else {
        if (isThere) return Status(StatusCode::Exists, "there is " + path);
        if (nextFate(path) != Fate::Happens) return lostPower();
        changeNames()[path] = std::make_shared<Inode>();
    }
    return std::unique_ptr<StorageFile>(
        std::make_unique<CrashFile>(*this, m_names.back()[path], path));
}

inline Result<std::unique_ptr<StorageFile>> CrashStorage::openTemporary(const std::string& path) {
    return std::unique_ptr<StorageFile>(
        std::make_unique<CrashFile>(*this, std::make_shared<Inode>(), path));
}

inline Status CrashStorage::rename(StorageFile& file, const std::string& to) {
    MutexLock lock(m_mutex);
    if (nextFate(to) != Fate::Happens) return lostPower();
    Names& names = changeNames();
    names[to] = names.at(file.path());
    names.erase(file.path());
    static_cast<CrashFile&>(file).m_path = to;
    return {};
}

inline Status CrashStorage::remove(const std::string& path) {
    MutexLock lock(m_mutex);
    if (!m_names.back().contains(path)) return {};
    if (nextFate(path) != Fate::Happens) return lostPower();
    changeNames().erase(path);
    return {};
}

inline Status CrashStorage::syncFolderOf(const std::string& path) {
    MutexLock lock(m_mutex);
    if (nextFate(path) != Fate::Happens) return lostPower();
    m_names.erase(m_names.begin(), m_names.end() - 1);
    return {};
}

inline bool CrashStorage::isNamed(const StorageFile& file, const std::string& path) {
    MutexLock lock(m_mutex);
    const auto named = m_names.back().find(path);
    return named != m_names.back().end() &&
           named->second == static_cast<const CrashFile&>(file).m_inode;
}

}  // namespace siftwell::fulltext
