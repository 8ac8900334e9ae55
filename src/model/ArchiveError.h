#pragma once

#include <stdexcept>
#include <string>

// Raised while reading an archive that is not what it claims to be. The
// message is written for a person ("the file is damaged: ...").
class ArchiveError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;

    // Throws "the file is damaged: " followed by what is wrong.
    [[noreturn]] static void damaged(const std::string& what) {
        throw ArchiveError("the file is damaged: " + what);
    }
};
