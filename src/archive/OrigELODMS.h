#pragma once

#include <cstdint>

#include "archive/ArchiveContext.h"
#include "archive/ArchiveSession.h"
#include "automation/Clock.h"
#include "automation/LateBound.h"
#include "automation/Text.h"
#include "automation/Variant.h"

namespace kandora {

/// The older archive client with fixed folders, kept for outside callers. Two groups of operations differ
/// deliberately: those marked "silent" record an error and return their empty result, the others raise it.
class OrigELODMS {
public:
    explicit OrigELODMS(ArchiveContext context);
    /// Closes the archive program, logging in first when there is no session.
    ~OrigELODMS();
    OrigELODMS(const OrigELODMS&) = delete;
    OrigELODMS& operator=(const OrigELODMS&) = delete;

    /// The automation object, logged in if need be; as it stands when the archive refuses the login. Silent.
    LateBound oElo();
    /// Silent.
    void ShowDokument(std::int32_t lDokID);
    /// Silent.
    bool IsDokumentVorhanden(std::int32_t lDokID);
    /// Always an empty array: the documents are checked, never collected. Silent.
    Variant GetUnverknuepfte();
    /// Object id of the folder that the case lies in; 0 when the archive does not know it. Silent.
    std::int32_t GetParentFolderId(std::int32_t lFallId);
    /// The date that the levels year, month and day above the case give; the empty date (0) after an error.
    /// Silent.
    double CurrentRegisterDate(std::int32_t lFallId);
    /// Silent.
    void LoescheDokument(std::int32_t lDokID);
    /// Files a document without index fields; its object id, 0 after an error. Silent.
    std::int32_t AddDokumentToMassenversaendeZA(const Text& sPath);
    std::int32_t AddDokument(const Text& sFile);
    /// Raises 5 when the archive does not show or print the document.
    void PrintDokument(std::int32_t lDokID);
    /// Moves a linked document back to the unlinked ones. Raises 5 when it is missing or the archive refuses.
    void LoescheVerknuepfung(std::int32_t lDokID);

private:
    /// A fixed folder below the control folder.
    struct FixedFolder {
        const wchar_t* procedure;
        const wchar_t* name;
        const wchar_t* missing;
    };

    /// Records the error being handled with the procedure as its frame; RecordAndRaise raises it again.
    void Record(const wchar_t* procedure) const;
    [[noreturn]] void RecordAndRaise(const wchar_t* procedure) const;

    void AnmeldenAnElo();
    void Class_Terminate();
    [[nodiscard]] Text Separator();
    std::int32_t FolderId(const FixedFolder& folder);
    [[nodiscard]] Variant PathLevels(std::int32_t lFallId, Text& separator);
    void LoadUnverknuepfte();
    std::int32_t FileWithoutIndex(const Text& file, const FixedFolder& folder);

    static const FixedFolder unlinked;
    static const FixedFolder massMailing;

    ArchiveContext context_;
    ArchiveSession session_;
};

}  // namespace kandora
