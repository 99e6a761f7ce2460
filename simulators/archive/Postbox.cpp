#include "simulators/archive/Postbox.h"

#include "simulators/archive/StoreNames.h"
#include "simulators/common/Failure.h"

namespace kandora::simulators {

Postbox::Postbox(const StoreFiles& files, IdCounter& ids) : files_(files), ids_(ids) {
    const std::wstring postbox = files.PostboxPath();
    for (const DirectoryItem& user : ListDirectory(postbox)) {
        if (!user.isDirectory) {
            continue;
        }
        for (const DirectoryItem& item : ListDirectory(postbox + L"\\" + user.name)) {
            if (const auto id = IdOfDocumentFile(item.name)) {
                ++count_;
                ids.PassOver(*id);
            }
        }
    }
}

PostboxDocument Postbox::Add(const std::wstring& file, const std::wstring& user) {
    if (!IsFile(file)) {
        throw Failure(L"Die Datei ist nicht vorhanden: " + file);
    }
    PostboxDocument document;
    document.id = ids_.Take();
    const std::wstring name = std::to_wstring(document.id);
    const std::wstring postbox = files_.PostboxPath() + L"\\" + EncodeName(user);
    CreateDirectories(postbox);
    document.path = postbox + L"\\" + name + DocumentExtension(file);
    CopyFileDurably(file, files_.TemporaryPath(name));
    RenameFile(files_.TemporaryPath(name), document.path);
    ++count_;
    return document;
}

void Postbox::Remove(const PostboxDocument& document) {
    RemoveFile(document.path);
    --count_;
}

}  // namespace kandora::simulators
