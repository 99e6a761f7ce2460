#include "simulators/archive/ArchiveObject.h"

#include <algorithm>

#include "simulators/archive/StoreNames.h"
#include "simulators/common/CallFailure.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Files.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

constexpr std::int32_t firstHit = 0x10000000;
constexpr std::int32_t documentType = 254;
constexpr std::int32_t folderMask = 1;

/// The members that need no session.
constexpr std::wstring_view sessionlessMembers[] = {L"Login", L"EloWindow", L"BringToFront"};

bool NeedsSession(std::wstring_view member) {
    return std::find(std::begin(sessionlessMembers), std::end(sessionlessMembers), member) ==
           std::end(sessionlessMembers);
}

}  // namespace

const MemberTable& ArchiveObject::Members() {
    using A = ArchiveObject;
    static const MemberTable table =
        MemberTableOf<ArchiveObject>()
            .Method(L"Login", 3, &A::Login)
            .Method(L"EloWindow", 1, &A::EloWindow)
            .Method(L"BringToFront", 0, &A::BringToFront)
            .Method(L"GetEntryId", 1, &A::GetEntryId)
            .Method(L"SelectView", 1, [](A&, const Arguments& arguments) { return SelectView(arguments); })
            .Method(L"LookupDelimiter", 0, &A::LookupDelimiter)
            .Method(L"LookupIndex", 1, &A::LookupIndex)
            .Method(L"CreateStructure", 2, &A::CreateStructure)
            .Method(L"ReadObjMask", 1, &A::ReadObjMask)
            .Method(L"PrepareObjectEx", 3, &A::PrepareObjectEx)
            .Property(L"ObjMaskNo", &A::MaskNumber, &A::SetMaskNumber)
            .Property(L"ObjShort", &A::ShortName, &A::SetShortName)
            .Property(L"ObjMainParent", &A::MainParent)
            .Method(L"setobjAttrib", 2, &A::SetAttribute)
            .Method(L"getobjAttrib", 1, &A::GetAttribute)
            .Method(L"AddPostboxFile", 1, &A::AddPostboxFile)
            .Method(L"MoveToArchive", 1, &A::MoveToArchive)
            .Method(L"UpdateObject", 0, &A::UpdateObject)
            .Method(L"DoInvisibleSearch", 0, &A::DoInvisibleSearch)
            .Method(L"GotoId", 1, &A::GotoId)
            .Method(L"DeleteObj", 1, &A::DeleteObj)
            .Method(L"clickon", 1, &A::ClickOn)
            .Method(L"GetTreePath", 3, &A::GetTreePath)
            .Method(L"PrintDocument", 6, &A::PrintDocument)
            .Method(L"InsertRef", 4, &A::InsertRef);
    return table;
}

ArchiveObject::ArchiveObject(ArchiveProgram& program)
    : RehearsedObject(archiveProgId, Members(), program), program_(program), store_(program.store) {}

ArchiveObject::~ArchiveObject() {
    LogOff();
}

Value ArchiveObject::Answer(const Call& call, const std::function<Value()>& proceed) {
    if (!isLoggedOn_ && NeedsSession(call.member)) {
        if (call.kind != CallKind::Method) {
            throw AutomationError(5, L"Es ist niemand am Archiv angemeldet.");
        }
        return Value::Long(NotLoggedOn);
    }
    try {
        return proceed();
    } catch (const Failure& failure) {
        program_.view.Notice(failure.Message());
        return Value::Long(StoreFailure);
    }
}

// --- Session and window ---

void ArchiveObject::LogOff() {
    if (isLoggedOn_) {
        isLoggedOn_ = false;
        --program_.sessions;
        program_.view.SessionsChanged();
    }
    current_ = Current();
    hits_.clear();
    lastFiled_ = 0;
    selected_ = 0;
}

Value ArchiveObject::Login(Arguments& arguments) {
    const std::wstring name = arguments.Text(0);
    const std::wstring password = arguments.Text(1);
    const std::wstring archive = arguments.Text(2);
    LogOff();
    if (name == L"LOGOUT" && password.empty() && archive.empty()) {
        return Value::Long(0);
    }
    const User* user = store_.Settings().FindUser(name);
    if (user == nullptr || user->password != password) {
        return Value::Long(WrongCredentials);
    }
    if (!store_.Settings().HasArchive(archive)) {
        return Value::Long(UnknownArchive);
    }
    isLoggedOn_ = true;
    archive_ = archive;
    postbox_ = user->shortSign.empty() ? user->name : user->shortSign;
    ++program_.sessions;
    program_.view.SessionsChanged();
    return Value::Long(0);
}

Value ArchiveObject::EloWindow(Arguments& arguments) {
    const std::wstring state = arguments.Text(0);
    if (EqualIgnoringCase(state, L"MINIMIZE")) {
        program_.view.Minimize();
    } else if (EqualIgnoringCase(state, L"NORMAL")) {
        program_.view.Restore();
    } else {
        return Value::Long(InvalidArgument);
    }
    return Value::Long(1);
}

Value ArchiveObject::BringToFront(Arguments&) {
    program_.view.BringToFront();
    return Value::Long(1);
}

Value ArchiveObject::SelectView(const Arguments& arguments) {
    const std::int32_t view = arguments.Long(0);
    return Value::Long(view >= 1 && view <= 5 ? 1 : InvalidArgument);
}

Value ArchiveObject::ClickOn(Arguments& arguments) {
    const std::wstring command = arguments.Text(0);
    if (EqualIgnoringCase(command, L"mmrefresh")) {
        program_.view.Refresh();
        return Value::Long(1);
    }
    if (EqualIgnoringCase(command, L"M:Beenden")) {
        LogOff();
        if (program_.sessions == 0) {
            program_.view.Close();
        }
        return Value::Long(1);
    }
    return Value::Long(NotSupported);
}

// --- Folders and masks ---

Value ArchiveObject::LookupDelimiter(Arguments&) {
    return Value::Text(store_.Settings().separator);
}

Value ArchiveObject::LookupIndex(Arguments& arguments) {
    return Value::Long(store_.LookupFolder(arguments.Text(0)));
}

Value ArchiveObject::CreateStructure(Arguments& arguments) {
    const std::wstring path = arguments.Text(0);
    if (arguments.Long(1) != 0) {
        return Value::Text(std::to_wstring(NotSupported));
    }
    try {
        const auto folder = store_.CreateFolders(path);
        return Value::Text(std::to_wstring(folder.value_or(InvalidArgument)));
    } catch (const Failure& failure) {
        program_.view.Notice(failure.Message());
        return Value::Text(std::to_wstring(StoreFailure));
    }
}

Value ArchiveObject::ReadObjMask(Arguments& arguments) {
    return Value::Long(store_.Settings().FindMask(arguments.Long(0)) != nullptr ? 1 : UnknownMask);
}

// --- The current object ---

Value ArchiveObject::PrepareObjectEx(Arguments& arguments) {
    return Value::Long(Prepare(arguments.Long(0), arguments.Long(1), arguments.Long(2)));
}

std::int32_t ArchiveObject::Prepare(std::int32_t id, std::int32_t type, std::int32_t mask) {
    current_ = Current();
    if (type != 0 && type != documentType) {
        return NotSupported;
    }
    if (id != 0) {
        return Load(id) ? 1 : 0;
    }
    if (type == 0 && mask == 0) {
        return 0;
    }
    if (store_.Settings().FindMask(mask) == nullptr) {
        return UnknownMask;
    }
    current_.state = type == documentType ? State::New : State::Search;
    current_.entry.mask = mask;
    return 1;
}

bool ArchiveObject::Load(std::int32_t id) {
    if (const Entry* entry = store_.FindEntry(id)) {
        current_.entry = *entry;
    } else if (const Folder* folder = store_.FindFolder(id); folder != nullptr && id != rootId) {
        current_.entry.id = id;
        current_.entry.mask = folderMask;
        current_.entry.shortName = folder->name;
        current_.entry.folder = folder->parent;
        current_.isFolder = true;
    } else {
        return false;
    }
    current_.state = State::Loaded;
    return true;
}

void ArchiveObject::RequireCurrent() const {
    if (current_.state == State::Nothing) {
        throw AutomationError(5, L"Es ist kein Archivobjekt geladen.");
    }
}

bool ArchiveObject::Exists(std::int32_t id) const {
    return store_.FindEntry(id) != nullptr || (id != rootId && store_.FindFolder(id) != nullptr);
}

bool ArchiveObject::HasField(std::int16_t line) const {
    const Mask* mask = store_.Settings().FindMask(current_.entry.mask);
    return mask != nullptr && mask->HasLine(line);
}

Value ArchiveObject::MaskNumber(Arguments&) {
    RequireCurrent();
    return Value::Long(current_.entry.mask);
}

void ArchiveObject::SetMaskNumber(Arguments& arguments) {
    RequireCurrent();
    const std::int32_t mask = arguments.Long(0);
    if (store_.Settings().FindMask(mask) == nullptr) {
        throw AutomationError(5, L"Die Ablagemaske " + std::to_wstring(mask) + L" gibt es nicht.");
    }
    current_.entry.mask = mask;
    std::erase_if(current_.entry.fields, [this](const auto& field) { return !HasField(field.first); });
}

Value ArchiveObject::ShortName(Arguments&) {
    RequireCurrent();
    return Value::Text(current_.entry.shortName);
}

void ArchiveObject::SetShortName(Arguments& arguments) {
    RequireCurrent();
    current_.entry.shortName = arguments.Text(0);
}

Value ArchiveObject::MainParent(Arguments&) {
    RequireCurrent();
    return Value::Long(current_.entry.folder);
}

Value ArchiveObject::SetAttribute(Arguments& arguments) {
    const std::int16_t line = arguments.Short(0);
    std::wstring value = arguments.Text(1);
    if (current_.state == State::Nothing) {
        return Value::Long(NoCurrentObject);
    }
    if (!HasField(line)) {
        return Value::Long(UnknownField);
    }
    current_.entry.fields[line] = std::move(value);
    return Value::Long(1);
}

Value ArchiveObject::GetAttribute(Arguments& arguments) {
    const std::int16_t line = arguments.Short(0);
    if (current_.state == State::Nothing) {
        return Value::Long(NoCurrentObject);
    }
    const auto found = current_.entry.fields.find(line);
    return Value::Text(found == current_.entry.fields.end() ? std::wstring() : found->second);
}

Value ArchiveObject::GetEntryId(Arguments& arguments) {
    const std::int32_t which = arguments.Long(0);
    if (which == -1) {
        return Value::Long(current_.state == State::Loaded ? current_.entry.id : 0);
    }
    if (which == -2) {
        return Value::Long(lastFiled_);
    }
    if (which < firstHit) {
        return Value::Long(InvalidArgument);
    }
    const auto hit = static_cast<std::size_t>(which - firstHit);
    return Value::Long(hit < hits_.size() ? hits_[hit] : 0);
}

// --- Filing and changing ---

Value ArchiveObject::AddPostboxFile(Arguments& arguments) {
    const std::wstring path = arguments.Text(0);
    if (current_.state != State::New) {
        return Value::Long(NoCurrentObject);
    }
    if (!IsFile(path)) {
        return Value::Long(FileNotFound);
    }
    PostboxDocument added = store_.AddToPostbox(path, postbox_);
    if (current_.document) {
        store_.RemoveFromPostbox(*current_.document);
    }
    current_.document = std::move(added);
    return Value::Long(1);
}

Value ArchiveObject::MoveToArchive(Arguments& arguments) {
    const std::wstring target = arguments.Text(0);
    if (current_.state != State::New) {
        return Value::Long(NoCurrentObject);
    }
    if (!current_.document) {
        return Value::Long(NoPostboxFile);
    }
    if (!target.starts_with(L'#')) {
        return Value::Long(InvalidArgument);
    }
    const auto folder = ParseId(std::wstring_view(target).substr(1));
    if (!folder) {
        return Value::Long(InvalidArgument);
    }
    if (*folder == rootId || store_.FindFolder(*folder) == nullptr) {
        return Value::Long(UnknownObject);
    }
    current_.entry.folder = *folder;
    current_.entry = store_.File(current_.entry, *current_.document);
    current_.document.reset();
    current_.state = State::Loaded;
    lastFiled_ = current_.entry.id;
    return Value::Long(1);
}

Value ArchiveObject::UpdateObject(Arguments&) {
    if (current_.state != State::Loaded || current_.isFolder) {
        return Value::Long(NoCurrentObject);
    }
    if (store_.FindEntry(current_.entry.id) == nullptr) {
        return Value::Long(UnknownObject);
    }
    store_.Update(current_.entry);
    return Value::Long(3);
}

Value ArchiveObject::InsertRef(Arguments& arguments) {
    const std::int32_t id = arguments.Long(0);
    const std::int32_t from = arguments.Long(1);
    const std::int32_t to = arguments.Long(2);
    if (arguments.Long(3) != 1) {
        return Value::Long(NotSupported);
    }
    const Entry* entry = store_.FindEntry(id);
    if (entry == nullptr || entry->folder != from || to == rootId || store_.FindFolder(to) == nullptr) {
        return Value::Long(UnknownObject);
    }
    store_.Move(id, to);
    if (current_.state == State::Loaded && current_.entry.id == id) {
        current_.entry.folder = to;
    }
    return Value::Long(0);
}

Value ArchiveObject::DeleteObj(Arguments& arguments) {
    const std::int32_t id = arguments.Long(0);
    if (!Exists(id)) {
        return Value::Long(UnknownObject);
    }
    if (store_.FindEntry(id) != nullptr) {
        store_.RemoveEntry(id);
    } else if (!store_.RemoveFolder(id)) {
        return Value::Long(FolderNotEmpty);
    }
    return Value::Long(1);
}

// --- Finding and showing ---

Value ArchiveObject::DoInvisibleSearch(Arguments&) {
    hits_.clear();
    if (current_.state != State::Search) {
        return Value::Long(NoCurrentObject);
    }
    const auto matches = [this](std::int32_t id) {
        const FieldValues& given = store_.FindEntry(id)->fields;
        return std::ranges::all_of(current_.entry.fields, [&given](const auto& wanted) {
            const auto found = given.find(wanted.first);
            return wanted.second.empty() || (found != given.end() && found->second == wanted.second);
        });
    };
    const std::vector<std::int32_t>& candidates = store_.EntriesOfMask(current_.entry.mask);
    if (current_.entry.fields.empty()) {
        hits_ = candidates;
    } else {
        std::ranges::copy_if(candidates, std::back_inserter(hits_), matches);
    }
    return Value::Long(static_cast<std::int32_t>(hits_.size()));
}

Value ArchiveObject::GotoId(Arguments& arguments) {
    const std::int32_t id = arguments.Long(0);
    if (!Exists(id)) {
        return Value::Long(UnknownObject);
    }
    selected_ = id;
    program_.view.Select(id);
    return Value::Long(1);
}

Value ArchiveObject::GetTreePath(Arguments& arguments) {
    const std::wstring separator = arguments.Text(1);
    const std::int32_t longest = arguments.Long(2);
    const std::int32_t id = selected_ != 0 ? selected_ : current_.entry.id;
    std::wstring path = id == 0 ? std::wstring() : store_.TreePath(id, archive_, separator);
    if (longest >= 0 && path.size() > static_cast<std::size_t>(longest)) {
        path.resize(static_cast<std::size_t>(longest));
    }
    return Value::Text(path);
}

Value ArchiveObject::PrintDocument(Arguments&) {
    const Entry* entry = store_.FindEntry(selected_);
    if (entry == nullptr || entry->document.empty()) {
        return Value::Long(NoCurrentObject);
    }
    program_.view.Notice(L"Dokument " + std::to_wstring(entry->id) + L" «" + entry->shortName +
                         L"» gedruckt");
    return Value::Long(1);
}

}  // namespace kandora::simulators
