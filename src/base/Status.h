// Status and Result: how an ordinary failure is returned.
//
// Opening, reading, parsing and storing may fail without anybody being at fault; such operations
// return a Status, or a Result that holds either a value or the Status that says why there is none.
// Messages are complete sentences for the user and name the file or address they are about.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace siftwell {

enum class StatusCode {
    Ok,
    NotFound,         // no such file, entry or document
    Exists,           // something stands where a new thing was to be made
    Denied,           // missing rights
    NoSpace,          // the disk or a quota is full
    ReadOnlyStorage,  // the file system or the object was opened for reading only
    Busy,             // another process or thread holds what is needed
    Damaged,          // contents contradict their checksum or format
    UnknownVersion,   // written by a newer program
    NameMismatch,     // the file bears another internal name than asked for
    Invalid,          // an argument that can never work
    TooLarge,         // over a limit that protects memory or a format
    Failed,           // everything else, input and output errors above all
};

class [[nodiscard]] Status {
public:
    Status() = default;  // success
    Status(StatusCode code, std::string message) : m_code(code), m_message(std::move(message)) {}

    // What the system call `action` (a verb with its object, "open the file X") failed with.
    static Status fromErrno(int error, std::string_view action);

    bool isOk() const { return m_code == StatusCode::Ok; }
    StatusCode code() const { return m_code; }
    const std::string& message() const { return m_message; }

private:
    StatusCode m_code = StatusCode::Ok;
    std::string m_message;
};

template <typename T>
class [[nodiscard]] Result {
public:
    Result(T value) : m_value(std::move(value)) {}          // NOLINT(*-explicit-*)
    Result(Status status) : m_status(std::move(status)) {}  // NOLINT(*-explicit-*)
    Result(StatusCode code, std::string message) : m_status(code, std::move(message)) {}

    bool isOk() const { return m_value.has_value(); }
    explicit operator bool() const { return isOk(); }
    const Status& status() const { return m_status; }

    // Valid only when isOk().
    T& value() & { return *m_value; }
    const T& value() const& { return *m_value; }
    T&& value() && { return *std::move(m_value); }
    T& operator*() & { return *m_value; }
    const T& operator*() const& { return *m_value; }
    T&& operator*() && { return *std::move(m_value); }
    T* operator->() { return &*m_value; }
    const T* operator->() const { return &*m_value; }

private:
    std::optional<T> m_value;
    Status m_status;
};

}  // namespace siftwell
