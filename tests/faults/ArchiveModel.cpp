#include "tests/faults/ArchiveModel.h"

#include <algorithm>

#include "tests/support/Rendering.h"

namespace kandora::test {

namespace {

constexpr std::int32_t lastMask = 5;
constexpr TextView separator = L"¶";

Variant Long(std::int32_t number) {
    return Variant(number);
}

}  // namespace

std::string Told(const Entries& entries) {
    std::string told;
    for (const auto& [id, entry] : entries) {
        told += "    " + std::to_string(id) + ": mask " + std::to_string(entry.mask) + " " +
                Quoted(entry.shortName) + " in " + Quoted(entry.folder);
        for (const auto& [position, value] : entry.fields) {
            told += " " + std::to_string(position) + "=" + Quoted(value);
        }
        told += "\n";
    }
    return told;
}

void ArchiveModel::AddFolder(const Text& path) {
    CreateFolders(path);
}

std::int32_t ArchiveModel::CreateFolders(const Text& path) {
    if (const auto found = folders.find(path); found != folders.end()) {
        return found->second;
    }
    return folders[path] = nextFolder_++;
}

std::int32_t ArchiveModel::AddEntry(Entry entry) {
    entries.emplace(nextEntry_, std::move(entry));
    return nextEntry_++;
}

std::int32_t ArchiveModel::Prepare(Desk& desk, std::int32_t id, std::int32_t type, std::int32_t mask) {
    desk.state = State::Nothing;
    desk.current = {};
    desk.posted.reset();
    desk.id = id;
    if (id != 0) {
        const auto found = entries.find(id);
        if (found == entries.end()) {
            return 0;
        }
        desk.current = found->second;
        desk.state = State::Loaded;
        return 1;
    }
    if (mask < 1 || mask > lastMask) {
        return unknownObject;
    }
    desk.current.mask = mask;
    desk.state = type == documentEntry ? State::New : State::Search;
    return 1;
}

std::int32_t ArchiveModel::Move(Desk& desk, const Text& target) {
    if (desk.state != State::New) {
        return nothingLoaded;
    }
    if (!desk.posted) {
        return nothingPosted;
    }
    const auto folder = std::ranges::find_if(
        folders, [&](const auto& known) { return L"#" + Decimal(known.second) == target; });
    if (folder == folders.end()) {
        return unknownObject;
    }
    desk.current.folder = folder->first;
    desk.current.file = *desk.posted;
    desk.lastFiled = AddEntry(desk.current);
    desk.state = State::Nothing;
    ++filed;
    return 1;
}

/// A list of members.
Fake ArchiveModel::NewObject() {  // NOLINT(readability-function-cognitive-complexity)
    Fake object("archive");
    object->GoesThrough(seam_);
    const auto desk = std::make_shared<Desk>();
    const auto answers = [this, &object, born = generation_](const wchar_t* member,
                                                             const Answer& answer = {}) {
        object->Answers(member, [this, born, answer](Call& call) {
            if (born != generation_) {
                throw Failure::Code(static_cast<HRESULT>(0x800706BAU));
            }
            return answer.To(call);
        });
    };
    const auto requireCurrent = [desk] {
        if (desk->state == State::Nothing) {
            throw Failure::Exception(5, L"Es ist kein Objekt geladen.");
        }
    };
    for (const wchar_t* const statement : {L"EloWindow", L"BringToFront", L"clickon"}) {
        answers(statement);
    }
    answers(L"Login", 0);
    answers(L"SelectView", 1);
    answers(L"LookupDelimiter", Text(separator));
    answers(L"ReadObjMask", [](Call& call) {
        return Long(call.LongAt(0) >= 1 && call.LongAt(0) <= lastMask ? 0 : unknownObject);
    });
    answers(L"LookupIndex", [this](Call& call) {
        const auto found = folders.find(Replaced(call.TextAt(0), separator, L"/"));
        return Long(found == folders.end() ? 0 : found->second);
    });
    answers(L"CreateStructure", [this](Call& call) {
        return Variant(Decimal(CreateFolders(Replaced(call.TextAt(0), separator, L"/"))));
    });
    answers(L"PrepareObjectEx", [this, desk](Call& call) {
        return Long(Prepare(*desk, call.LongAt(0), call.LongAt(1), call.LongAt(2)));
    });
    answers(L"ObjMaskNo", [desk, requireCurrent](Call& call) {
        requireCurrent();
        desk->current.mask = call.LongAt(0);
        return Variant();
    });
    answers(L"ObjShort", [desk, requireCurrent](Call& call) {
        requireCurrent();
        if (call.arguments.empty()) {
            return Variant(desk->current.shortName);
        }
        desk->current.shortName = call.TextAt(0);
        return Variant();
    });
    answers(L"ObjMainParent", [this, desk, requireCurrent](Call&) {
        requireCurrent();
        return Long(folders.at(desk->current.folder));
    });
    answers(L"setobjAttrib", [desk](Call& call) {
        if (desk->state == State::Nothing) {
            return Long(nothingLoaded);
        }
        desk->current.fields[static_cast<std::int16_t>(call.LongAt(0))] = call.TextAt(1);
        return Long(1);
    });
    answers(L"getobjAttrib", [desk](Call& call) {
        if (desk->state == State::Nothing) {
            return Long(nothingLoaded);
        }
        const auto found = desk->current.fields.find(static_cast<std::int16_t>(call.LongAt(0)));
        return Variant(found == desk->current.fields.end() ? Text() : found->second);
    });
    answers(L"DoInvisibleSearch", [this, desk](Call&) {
        desk->hits.clear();
        for (const auto& [id, entry] : entries) {
            if (desk->state == State::Search && entry.mask == desk->current.mask) {
                desk->hits.push_back(id);
            }
        }
        return Long(static_cast<std::int32_t>(desk->hits.size()));
    });
    answers(L"GetEntryId", [desk](Call& call) {
        const std::int32_t which = call.LongAt(0);
        if (which < firstHit) {
            return Long(which == -2 ? desk->lastFiled : 0);
        }
        const auto hit = static_cast<std::size_t>(which - firstHit);
        return Long(hit < desk->hits.size() ? desk->hits[hit] : 0);
    });
    answers(L"AddPostboxFile", [desk](Call& call) {
        if (desk->state != State::New) {
            return Long(nothingLoaded);
        }
        desk->posted = call.TextAt(0);
        return Long(1);
    });
    answers(L"MoveToArchive", [this, desk](Call& call) { return Long(Move(*desk, call.TextAt(0))); });
    answers(L"UpdateObject", [this, desk](Call&) {
        if (desk->state != State::Loaded || !entries.contains(desk->id)) {
            return Long(nothingLoaded);
        }
        entries[desk->id] = desk->current;
        return Long(3);
    });
    answers(L"GotoId", [this](Call& call) {
        shown = call.LongAt(0);
        return Long(entries.contains(shown) ? 1 : 0);
    });
    answers(L"DeleteObj",
            [this](Call& call) { return Long(entries.erase(call.LongAt(0)) == 1 ? 1 : unknownObject); });
    return object;
}

}  // namespace kandora::test
