// Storage: the few things the engine asks of a file system, behind an interface so that a test can
// let any one of them be the last that happens.
//
// Threads: a StorageFile may be read by many threads while one writes; ranges that are mapped or
// read are never written again. Errors: as Status, naming the file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/Status.h"

namespace siftwell::fulltext {

// Bytes of a file in memory for as long as the object lives.
class Mapping {
public:
    virtual ~Mapping() = default;
    virtual std::string_view bytes() const = 0;
};

class StorageFile {
public:
    virtual ~StorageFile() = default;

    virtual const std::string& path() const = 0;

    // Fails with Damaged when the file ends before `count` bytes.
    virtual Result<std::string> readAt(std::uint64_t offset, std::size_t count) const = 0;
    virtual Status writeAt(std::uint64_t offset, std::string_view bytes) = 0;
    virtual Result<std::uint64_t> size() const = 0;
    virtual Status truncate(std::uint64_t size) = 0;
    virtual Status sync() = 0;
    virtual Result<std::unique_ptr<Mapping>> map(std::uint64_t offset, std::size_t count) const = 0;

    // Excludes every other writer of this file, in this process and others, until it is unlocked or
    // the file object goes. Busy when there is one.
    virtual Status lockForWriting() = 0;
    virtual void unlockForWriting() = 0;
};

class Storage {
public:
    enum class Mode { ReadOnly, ReadWrite, CreateNew };

    virtual ~Storage() = default;

    virtual Result<std::unique_ptr<StorageFile>> open(const std::string& path, Mode mode) = 0;
    // A file without a name beside `path`, which goes when it is closed.
    virtual Result<std::unique_ptr<StorageFile>> openTemporary(const std::string& path) = 0;
    // The file goes by its new name from then on, also in messages.
    virtual Status rename(StorageFile& file, const std::string& to) = 0;
    // Lets the file be found by another name too; Exists when something bears it. Where that cannot
    // be, a copy gets it.
    virtual Status keep(const StorageFile& file, const std::string& as);
    virtual Status remove(const std::string& path) = 0;
    virtual Status syncFolderOf(const std::string& path) = 0;
    // Whether `path` still names this very file.
    virtual bool isNamed(const StorageFile& file, const std::string& path) = 0;

    // The file system of this computer.
    static Storage& system();
};

}  // namespace siftwell::fulltext
