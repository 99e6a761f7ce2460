#pragma once

#include "automation/Text.h"

namespace kandora {

/// What the client settings need of the archive. Both answer the empty text on success, a message otherwise.
class ArchiveFolders {
public:
    ArchiveFolders() = default;
    virtual ~ArchiveFolders() = default;
    ArchiveFolders(const ArchiveFolders&) = delete;
    ArchiveFolders& operator=(const ArchiveFolders&) = delete;

    virtual Text CheckPFadVorhanden(const Text& strPfad) = 0;
    /// May complete the path.
    virtual Text PFadErstellen(Text& strPfad) = 0;
};

}  // namespace kandora
