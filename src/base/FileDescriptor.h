// FileDescriptor owns one open file and closes it.
#pragma once

#include <unistd.h>

#include <utility>

namespace siftwell {

class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            m_descriptor = std::exchange(other.m_descriptor, -1);
        }
        return *this;
    }

    bool isOpen() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }
    void reset() {
        if (isOpen()) close(m_descriptor);
        m_descriptor = -1;
    }

private:
    int m_descriptor = -1;
};

}  // namespace siftwell
