#pragma once

#include <cerrno>
#include <cstring>
#include <exception>
#include <string>

namespace zbvolume
{

/// Ends a command with exit status 1: the file that it concerns, as the user named it, and the cause.
class Failure : public std::exception
{
public:
    Failure(const std::string& file, const std::string& cause) : m_text(file + ": " + cause) {}
    const char* what() const noexcept override { return m_text.c_str(); }

private:
    std::string m_text;
};

/// Ends a command because the user asked for it. What was being written is removed on the way out.
class Interrupted : public std::exception
{
public:
    const char* what() const noexcept override { return "interrupted"; }
};

/// The system's words for errno, in English: the program never sets a locale.
inline std::string systemCause()
{
    return errno != 0 ? std::strerror(errno) : "the cause is unknown";
}

}  // namespace zbvolume
