#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "simulators/archive/ArchiveProgram.h"
#include "simulators/common/DispatchObject.h"

namespace kandora::simulators {

/// An object of the archive whose calls are recorded, and which follows the program's script if it has one.
class RehearsedObject : public DispatchObject {
protected:
    /// `program` must outlive the object.
    RehearsedObject(std::wstring className, const MemberTable& members, const ArchiveProgram& program)
        : DispatchObject(std::move(className), members), program_(program) {}

    /// Answers a call that the script leaves alone; `proceed` runs its handler.
    virtual Value Answer(const Call& call, const std::function<Value()>& proceed) = 0;

private:
    Value Perform(const Call& call, const std::function<Value()>& proceed) override;
    void OnUnknownName(std::wstring_view name) override;
    Value Scripted(const Call& call, const std::function<Value()>& proceed);

    const ArchiveProgram& program_;
};

}  // namespace kandora::simulators
