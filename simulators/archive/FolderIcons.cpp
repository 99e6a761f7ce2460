#include "simulators/archive/FolderIcons.h"

#include <windows.h>

#include <shellapi.h>

#include "interfaces/Apartment.h"

namespace kandora::simulators {

ImageList FolderIcons(int size) {
    // The shell wants COM.
    const Apartment apartment;
    const UINT nearest = size > GetSystemMetrics(SM_CXSMICON) ? SHGFI_LARGEICON : SHGFI_SMALLICON;
    ImageList images(ImageList_Create(size, size, ILC_COLOR32 | ILC_MASK, 2, 0));
    for (const UINT state : {UINT{0}, UINT{SHGFI_OPENICON}}) {
        SHFILEINFOW info{};
        SHGetFileInfoW(L"Ordner", FILE_ATTRIBUTE_DIRECTORY, &info, sizeof(info),
                       SHGFI_ICON | SHGFI_USEFILEATTRIBUTES | nearest | state);
        ImageList_AddIcon(images.get(), info.hIcon);
        DestroyIcon(info.hIcon);
    }
    return images;
}

}  // namespace kandora::simulators
