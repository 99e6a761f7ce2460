#pragma once

#include "automation/Replaceable.h"
#include "automation/Text.h"

namespace kandora {

/// What the client settings need of the archive. Both answer the empty text on success, a message otherwise.
class ArchiveFolders : public Replaceable {
public:
    virtual Text CheckPFadVorhanden(const Text& strPfad) = 0;
    /// May complete the path.
    virtual Text PFadErstellen(Text& strPfad) = 0;
};

}  // namespace kandora
