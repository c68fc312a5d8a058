// CrashSqlite: SQLite's files on a CrashStorage. While the object lives it is SQLite's file system:
// every change happens in the storage first, which counts it and may refuse it, and then to the
// file of the same name, so that whoever looks for that finds it.
//
// Threads: one, and one object at a time.
#pragma once

#include <sqlite3.h>
#include <unistd.h>

#include <new>

#include "fulltext/CrashStorage.h"

namespace siftwell {

class CrashSqlite {
public:
    explicit CrashSqlite(fulltext::CrashStorage& storage) : m_storage(storage) {
        m_vfs = *m_real;
        m_vfs.zName = "crash";
        m_vfs.pNext = nullptr;
        m_vfs.pAppData = this;
        m_vfs.szOsFile += static_cast<int>(sizeof(File));
        m_vfs.xOpen = open;
        m_vfs.xDelete = remove;
        sqlite3_vfs_register(&m_vfs, 1);
    }
    ~CrashSqlite() {
        sqlite3_vfs_unregister(&m_vfs);
        sqlite3_vfs_register(m_real, 1);
    }
    CrashSqlite(const CrashSqlite&) = delete;
    CrashSqlite& operator=(const CrashSqlite&) = delete;

private:
    // The front of the memory that SQLite gives; the real file lies behind it.
    struct File {
        sqlite3_file base{};
        CrashSqlite* sqlite = nullptr;
        std::unique_ptr<fulltext::StorageFile> stored;  // null for a file without a name
        bool isNameUnsynced = false;

        sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
    };

    static File& fileOf(sqlite3_file* file) { return *reinterpret_cast<File*>(file); }
    static const sqlite3_io_methods& realMethods(sqlite3_file* file) {
        return *fileOf(file).real()->pMethods;
    }

    // A function of the real file, to be called with this one.
    template <auto Method, typename... Arguments>
    static int forward(sqlite3_file* file, Arguments... arguments) {
        return (realMethods(file).*Method)(fileOf(file).real(), arguments...);
    }

    static int open(sqlite3_vfs* vfs, const char* name, sqlite3_file* memory, int flags,
                    int* outFlags) {
        auto& sqlite = *static_cast<CrashSqlite*>(vfs->pAppData);
        memory->pMethods = nullptr;
        File& file = *new (memory) File{.sqlite = &sqlite};
        int code = name == nullptr ? SQLITE_OK : sqlite.openStored(file, name, flags);
        if (code == SQLITE_OK) {
            code = sqlite.m_real->xOpen(sqlite.m_real, name, file.real(), flags, outFlags);
        }
        if (code == SQLITE_OK) {
            file.base.pMethods = &methods();
        } else {
            file.~File();
            memory->pMethods = nullptr;
        }
        return code;
    }

    int openStored(File& file, const char* name, int flags) {
        using Mode = fulltext::Storage::Mode;
        auto stored = m_storage.open(name, Mode::ReadWrite);
        // Perhaps somebody else has just made the file.
        if (!stored && ((flags & SQLITE_OPEN_CREATE) != 0 || access(name, F_OK) == 0)) {
            stored = m_storage.open(name, Mode::CreateNew);
            file.isNameUnsynced = (flags & (SQLITE_OPEN_WAL | SQLITE_OPEN_MAIN_JOURNAL)) != 0;
        }
        if (stored) file.stored = *std::move(stored);
        return stored ? SQLITE_OK : SQLITE_CANTOPEN;
    }

    static int remove(sqlite3_vfs* vfs, const char* name, int mustSyncFolder) {
        auto& sqlite = *static_cast<CrashSqlite*>(vfs->pAppData);
        if (!sqlite.m_storage.remove(name).isOk()) return SQLITE_IOERR_DELETE;
        const int code = sqlite.m_real->xDelete(sqlite.m_real, name, 0);
        const bool isDone =
            mustSyncFolder == 0 || code != SQLITE_OK || sqlite.m_storage.syncFolderOf(name).isOk();
        return isDone ? code : SQLITE_IOERR_DIR_FSYNC;
    }

    static int close(sqlite3_file* file) {
        const int code = forward<&sqlite3_io_methods::xClose>(file);
        fileOf(file).~File();
        return code;
    }

    static int write(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
        const std::string_view written(static_cast<const char*>(bytes),
                                       static_cast<std::size_t>(count));
        const auto& stored = fileOf(file).stored;
        if (stored && !stored->writeAt(static_cast<std::uint64_t>(offset), written).isOk()) {
            return SQLITE_IOERR_WRITE;
        }
        return forward<&sqlite3_io_methods::xWrite>(file, bytes, count, offset);
    }

    static int truncate(sqlite3_file* file, sqlite3_int64 size) {
        const auto& stored = fileOf(file).stored;
        if (stored && !stored->truncate(static_cast<std::uint64_t>(size)).isOk()) {
            return SQLITE_IOERR_TRUNCATE;
        }
        return forward<&sqlite3_io_methods::xTruncate>(file, size);
    }

    static int sync(sqlite3_file* file, int) {
        const auto& stored = fileOf(file).stored;
        if (stored && !stored->sync().isOk()) return SQLITE_IOERR_FSYNC;
        if (!std::exchange(fileOf(file).isNameUnsynced, false)) return SQLITE_OK;
        const bool isDone = fileOf(file).sqlite->m_storage.syncFolderOf(stored->path()).isOk();
        return isDone ? SQLITE_OK : SQLITE_IOERR_DIR_FSYNC;
    }

    // What is shared with other processes is never read after a crash, and may stay.
    static int unmapShared(sqlite3_file* file, int mustDelete) {
        const bool isDead = fileOf(file).sqlite->m_storage.hasFailed();
        return forward<&sqlite3_io_methods::xShmUnmap>(file, isDead ? 0 : mustDelete);
    }

    static const sqlite3_io_methods& methods() {
        using Methods = sqlite3_io_methods;
        static const Methods methods{
            .iVersion = 2,
            .xClose = close,
            .xRead = forward<&Methods::xRead, void*, int, sqlite3_int64>,
            .xWrite = write,
            .xTruncate = truncate,
            .xSync = sync,
            .xFileSize = forward<&Methods::xFileSize, sqlite3_int64*>,
            .xLock = forward<&Methods::xLock, int>,
            .xUnlock = forward<&Methods::xUnlock, int>,
            .xCheckReservedLock = forward<&Methods::xCheckReservedLock, int*>,
            .xFileControl = forward<&Methods::xFileControl, int, void*>,
            .xSectorSize = forward<&Methods::xSectorSize>,
            .xDeviceCharacteristics = forward<&Methods::xDeviceCharacteristics>,
            .xShmMap = forward<&Methods::xShmMap, int, int, int, void volatile**>,
            .xShmLock = forward<&Methods::xShmLock, int, int, int>,
            .xShmBarrier =
                [](sqlite3_file* file) { realMethods(file).xShmBarrier(fileOf(file).real()); },
            .xShmUnmap = unmapShared,
            .xFetch = nullptr,
            .xUnfetch = nullptr};
        return methods;
    }

    fulltext::CrashStorage& m_storage;
    sqlite3_vfs* const m_real = sqlite3_vfs_find(nullptr);
    sqlite3_vfs m_vfs{};
};

}  // namespace siftwell
