#pragma once

#include "simulators/archive/ArchiveProgram.h"
#include "simulators/archive/RehearsedObject.h"
#include "simulators/archive/Store.h"

namespace kandora::simulators {

inline constexpr const wchar_t* archiveProgId = L"ELO.professional";

/// The automation object "ELO.professional": one object per client, each with a session, a current object and
/// a list of hits of its own.
///
/// Answers are numbers; negative ones say what is wrong (see Code). Before a successful Login every member
/// answers NotLoggedOn, except Login itself and the two that act on the window alone, EloWindow and
/// BringToFront. Members that need a current object answer NoCurrentObject without one. Properties raise
/// error 5 in either case. StoreFailure can be the answer of any member.
///
///     Login(name, password, archive)     0; WrongCredentials, UnknownArchive
///     Login("LOGOUT", "", "")            logs off: 0
///     EloWindow("MINIMIZE" | "NORMAL")   1; InvalidArgument
///     BringToFront()                     1
///     GetEntryId(-1)                     the current object's id, 0 without one
///     GetEntryId(-2)                     the id of the entry filed last, 0 when none was
///     GetEntryId(0x10000000 + n)         the id of hit n (from 0) of the last search, 0 past the last one;
///                                        other numbers: InvalidArgument
///     SelectView(1 to 5)                 1; InvalidArgument
///     LookupDelimiter()                  the separator between the levels of a path
///     LookupIndex(path)                  the folder's id, 0 when there is none
///     CreateStructure(path, 0)           the folder's id as text; or as text, too, InvalidArgument,
///                                        StoreFailure, NotSupported
///     ReadObjMask(mask)                  1; UnknownMask
///     PrepareObjectEx(0, 254, mask)      begins a new document entry: 1; UnknownMask
///     PrepareObjectEx(0, 0, mask)        begins a search for entries of the mask: 1; UnknownMask, 0 for
///                                        mask 0
///     PrepareObjectEx(id, 0 | 254, mask) loads an entry or folder, whatever its mask: 1, or 0 when there
///                                        is none; with any other type: NotSupported
///     ObjMaskNo, ObjShort                the current object's mask and short name
///     ObjMainParent                      the id of the folder in which the current object lies
///     setobjAttrib(line, value)          1; UnknownField
///     getobjAttrib(line)                 the value as text, empty when it was never written
///     AddPostboxFile(path)               copies the file for the new entry: 1; FileNotFound
///     MoveToArchive("#" + folder id)     files the new entry: 1; NoPostboxFile, UnknownObject,
///                                        InvalidArgument
///     UpdateObject()                     writes the loaded entry back: 3; UnknownObject when it was deleted
///     DoInvisibleSearch()                the number of hits; values set by setobjAttrib narrow the search
///     GotoId(id)                         selects in the window: 1; UnknownObject
///     GetTreePath(0, separator, length)  archive, folders and object (that of GotoId, else the current
///                                        one), cut off after `length` characters unless that is negative
///     PrintDocument(0, "", "", 0, 0, 0)  prints the document of the entry from GotoId: 1; NoCurrentObject
///     InsertRef(id, from, to, 1)         moves an entry to another folder: 0; UnknownObject, NotSupported
///     DeleteObj(id)                      1; UnknownObject, FolderNotEmpty
///     clickon("mmrefresh")               refreshes the window: 1
///     clickon("M:Beenden")               logs off and, unless others are logged on, ends the program: 1;
///                                        other commands: NotSupported
class ArchiveObject : public RehearsedObject {
public:
    /// The negative answers.
    enum Code : std::int32_t {
        NotLoggedOn = -1,
        WrongCredentials = -2,
        UnknownArchive = -3,
        NoCurrentObject = -4,
        UnknownObject = -5,
        UnknownMask = -6,
        UnknownField = -7,
        FileNotFound = -8,
        NotSupported = -9,
        StoreFailure = -10,
        FolderNotEmpty = -11,
        NoPostboxFile = -12,
        InvalidArgument = -13,
    };

    static const MemberTable& Members();

    /// `program` must outlive the object.
    explicit ArchiveObject(ArchiveProgram& program);
    ~ArchiveObject() override;

private:
    enum class State { Nothing, New, Search, Loaded };

    /// The object that PrepareObjectEx made current.
    struct Current {
        State state = State::Nothing;
        Entry entry;  ///< for a loaded folder: id, name as short name, parent as folder
        bool isFolder = false;
        std::optional<PostboxDocument> document;
    };

    Value Answer(const Call& call, const std::function<Value()>& proceed) override;

    Value Login(Arguments& arguments);
    Value EloWindow(Arguments& arguments);
    Value BringToFront(Arguments& arguments);
    Value GetEntryId(Arguments& arguments);
    static Value SelectView(const Arguments& arguments);
    Value LookupDelimiter(Arguments& arguments);
    Value LookupIndex(Arguments& arguments);
    Value CreateStructure(Arguments& arguments);
    Value ReadObjMask(Arguments& arguments);
    Value PrepareObjectEx(Arguments& arguments);
    Value MaskNumber(Arguments& arguments);
    void SetMaskNumber(Arguments& arguments);
    Value ShortName(Arguments& arguments);
    void SetShortName(Arguments& arguments);
    Value MainParent(Arguments& arguments);
    Value SetAttribute(Arguments& arguments);
    Value GetAttribute(Arguments& arguments);
    Value AddPostboxFile(Arguments& arguments);
    Value MoveToArchive(Arguments& arguments);
    Value UpdateObject(Arguments& arguments);
    Value DoInvisibleSearch(Arguments& arguments);
    Value GotoId(Arguments& arguments);
    Value DeleteObj(Arguments& arguments);
    Value ClickOn(Arguments& arguments);
    Value GetTreePath(Arguments& arguments);
    Value PrintDocument(Arguments& arguments);
    Value InsertRef(Arguments& arguments);

    std::int32_t Prepare(std::int32_t id, std::int32_t type, std::int32_t mask);
    bool Load(std::int32_t id);
    [[nodiscard]] bool Exists(std::int32_t id) const;
    [[nodiscard]] bool HasField(std::int16_t line) const;
    void RequireCurrent() const;
    void LogOff();

    ArchiveProgram& program_;
    ArchiveStore& store_;
    bool isLoggedOn_ = false;
    std::wstring archive_;
    std::wstring postbox_;  ///< whose postbox the session uses
    Current current_;
    std::vector<std::int32_t> hits_;
    std::int32_t lastFiled_ = 0;
    std::int32_t selected_ = 0;
};

}  // namespace kandora::simulators
