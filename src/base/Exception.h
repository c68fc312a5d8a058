// NamedException: the one type that is thrown across folders.
//
// It is thrown only where an operation is described as throwing; the name ("InvalidPath",
// "CopyFailed", "PLSqliteException", …) tells the catcher what to do, the reason tells the user.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace siftwell {

class NamedException : public std::exception {
public:
    NamedException(std::string name, std::string reason)
        : m_name(std::move(name)), m_reason(std::move(reason)) {}

    const std::string& name() const { return m_name; }
    const std::string& reason() const { return m_reason; }
    const char* what() const noexcept override { return m_reason.c_str(); }

private:
    std::string m_name;
    std::string m_reason;
};

// The name of a NamedException, or the type of any other: "std::bad_alloc".
std::string nameOf(const std::exception& exception);

}  // namespace siftwell
