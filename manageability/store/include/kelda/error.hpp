// SPDX-License-Identifier: Apache-2.0
//
// What can go wrong with a store, told to an operator.
#pragma once

#include <stdexcept>
#include <string>

#include "kelda/api.hpp"

namespace kelda {

/// what() says what went wrong, where (path), and what to do about it.
class KELDA_API StoreError : public std::runtime_error {
public:
    enum class Kind {
        missing,   ///< no store there, or a part of it is gone, or the folder holds something else
        damaged,   ///< the file is no store any more
        version,   ///< a store of another format or version
        disk_full, ///< the file system or the size limit of the store; nothing was changed
        read_only, ///< the folder or a file of it must not be written
        in_use,    ///< by another process, or twice in this one
        too_long,  ///< a key of more than kMaxKeyBytes
        io,        ///< anything else that the system reports
    };

    StoreError(Kind kind, const std::string& what) : std::runtime_error{what}, kind_{kind} {}

    Kind kind() const { return kind_; }

private:
    Kind kind_;
};

} // namespace kelda
