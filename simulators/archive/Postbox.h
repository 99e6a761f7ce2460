#pragma once

#include <cstddef>
#include <string>

#include "simulators/archive/IdCounter.h"
#include "simulators/archive/StoreContents.h"
#include "simulators/archive/StoreFiles.h"

namespace kandora::simulators {

/// The documents that were handed in and not yet filed, in a directory for each user.
class Postbox {
public:
    /// Counts what is there and marks its numbers as used in `ids`. Both must outlive it.
    Postbox(const StoreFiles& files, IdCounter& ids);

    [[nodiscard]] std::size_t Count() const noexcept { return count_; }
    /// Copies the file into the user's postbox. Throws Failure.
    PostboxDocument Add(const std::wstring& file, const std::wstring& user);
    /// Throws Failure.
    void Remove(const PostboxDocument& document);
    /// A document has become an entry's.
    void NoteFiled() noexcept { --count_; }

private:
    const StoreFiles& files_;
    IdCounter& ids_;
    std::size_t count_ = 0;
};

}  // namespace kandora::simulators
