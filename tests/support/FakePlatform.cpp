#include "tests/support/FakePlatform.h"

#include <algorithm>
#include <utility>

#include "tests/support/Rendering.h"

namespace kandora::test {

namespace {

std::string NameOrDash(const char* name) {
    return name == nullptr ? "-" : "\"" + Spelled(TextFromAnsi(name)) + "\"";
}

}  // namespace

void FakePlatform::HandsOut(const Text& progId, const Fake& object) {
    prepared_[progId].emplace_back(object);
}

void FakePlatform::RefusesOnce(const Text& progId, std::int32_t number) {
    prepared_[progId].emplace_back(number);
}

void FakePlatform::Makes(const Text& progId, std::function<Fake()> maker) {
    makers_[progId] = std::move(maker);
}

Variant FakePlatform::Through(TextView operation, const std::vector<Variant>& arguments, bool answered,
                              const std::function<Variant()>& carryOut) const {
    return seam == nullptr ? carryOut() : seam->Around({"machine", operation, arguments, answered}, carryOut);
}

LateBound FakePlatform::CreateObject(const Text& progId) {
    const OutsideStretch stretch(seam);
    return LateBound(
        Through(L"create", {Variant(progId)}, false, [&] { return NewObject(progId).AsVariant(); }));
}

Fake FakePlatform::NewObject(const Text& progId) {
    const std::size_t place = conversation_.Add("create " + Spelled(progId));
    std::variant<Fake, std::int32_t> outcome = errors::cannotCreateObject;
    if (auto& waiting = prepared_[progId]; !waiting.empty()) {
        outcome = std::move(waiting.front());
        waiting.pop_front();
    } else if (const auto maker = makers_.find(progId); maker != makers_.end()) {
        outcome = maker->second();
    }
    if (const auto* const number = std::get_if<std::int32_t>(&outcome)) {
        conversation_.Complete(place, " !! " + std::to_string(*number));
        throw RuntimeError(*number);
    }
    return std::get<Fake>(outcome);
}

bool FakePlatform::FileExists(const Text& path) {
    const OutsideStretch stretch(seam);
    const bool exists =
        Through(L"file", {Variant(path)}, true, [&] { return Variant(files.contains(path)); }).ToBoolean();
    conversation_.Add("file " + Quoted(path) + (exists ? " -> True" : " -> False"));
    return exists;
}

bool FakePlatform::FolderExists(const Text& path) {
    const OutsideStretch stretch(seam);
    const bool exists = Through(L"folder", {Variant(path)}, true, [&] {
                            return Variant(folders.contains(path));
                        }).ToBoolean();
    conversation_.Add("folder " + Quoted(path) + (exists ? " -> True" : " -> False"));
    return exists;
}

void FakePlatform::GetPrivateProfileString(const char* section, const char* key, std::span<char> buffer,
                                           const std::string& file) {
    const OutsideStretch stretch(seam);
    profileFile = file;
    if (seam == nullptr) {
        profileCalls.push_back("string " + NameOrDash(section) + " " + NameOrDash(key) + " " +
                               std::to_string(buffer.size()));
        profile.ReadString(section, key, buffer, file);
        return;
    }
    const auto named = [](const char* name) {
        return name == nullptr ? Variant() : Variant(TextFromAnsi(name));
    };
    const Variant value = Through(L"profile", {named(section), named(key)}, true, [&] {
        profile.ReadString(section, key, buffer, file);
        return Variant(TextFromAnsi(buffer.data()));
    });
    const std::string text = AnsiFromText(value.ToText());
    const std::size_t length = std::min(text.size(), buffer.size() - 1);
    std::copy_n(text.begin(), length, buffer.begin());
    buffer[length] = '\0';
}

void FakePlatform::GetPrivateProfileSection(const char* section, std::span<char> buffer,
                                            const std::string& file) {
    profileFile = file;
    profileCalls.push_back("section " + NameOrDash(section) + " " + std::to_string(buffer.size()));
    profile.ReadSection(section, buffer, file);
}

bool FakePlatform::WritePrivateProfileString(const char* section, const char* key, const char* value,
                                             const std::string& file) {
    profileFile = file;
    profileCalls.push_back("write " + NameOrDash(section) + " " + NameOrDash(key) + " " + NameOrDash(value));
    if (!profileWritesFail) {
        profile.Set(file, section, key, value);
    }
    return !profileWritesFail;
}

void FakePlatform::AppendToFile(const Text& path, const std::string& bytes) {
    const OutsideStretch stretch(seam);
    const Text line = TextFromAnsi(bytes);
    Through(L"log", {Variant(path), Variant(line)}, false, [&] {
        const std::size_t place = conversation_.Add("log " + Quoted(line));
        if (appendFailure) {
            conversation_.Complete(place, " !! " + std::to_string(appendFailure->Number()));
            throw RuntimeError(*appendFailure);
        }
        appended[path] += bytes;
        return Variant();
    });
}

Text FakePlatform::Environment(const wchar_t* name) {
    const auto found = environment.find(name);
    return found == environment.end() ? Text() : found->second;
}

void FakePlatform::Sleep(std::uint32_t milliseconds) {
    conversation_.Add("sleep " + std::to_string(milliseconds));
}

}  // namespace kandora::test
