#pragma once

#include "simulators/common/CallFailure.h"
#include "simulators/common/DispatchObject.h"
#include "simulators/common/Files.h"

/// The record of an archive's calls: one line per call, in UTF-8, appended at once.
///
///     PrepareObjectEx(I4 0, I2 254, I4& 2) -> I4 1
///     ObjShort = BSTR "Müller AG"
///     ObjMainParent -> I4 17
///     MoveToArchive(BSTR "#17") -> Fehler 0x80020009, 0x800A0005 "Ungültig" (ELO.professional)
namespace kandora::simulators {

class CallTrace {
public:
    /// Opens the file for appending; others may read it meanwhile. Throws Failure.
    explicit CallTrace(const std::wstring& path);

    void Write(std::wstring_view line);

    /// The call as it came in, up to the arrow.
    static std::wstring DescribeCall(const Call& call);
    /// " -> I4 1"; nothing for an assignment.
    static std::wstring DescribeAnswer(const Call& call, const Value& answer);
    static std::wstring DescribeFailure(const FailedCall& failed);

private:
    FileHandle file_;
};

}  // namespace kandora::simulators
