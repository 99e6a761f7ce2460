#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kandora::simulators {

/// What the user asked for on the command line.
struct CommandLine {
    enum class Task { Requests, Year, Menu, Serve, Register, Unregister };

    Task task = Task::Menu;
    /// True when COM started the program for a client of another process.
    bool embedding = false;
    std::filesystem::path client;
    std::filesystem::path clientCopy;
    /// The request file; with Task::Year it is sent after the year, or nothing when it is empty.
    std::filesystem::path requests;
    std::filesystem::path component;
    std::filesystem::path report;
    std::filesystem::path store;
    std::filesystem::path printerFile;
    std::filesystem::path pictureHook;
    bool answerBoxes = false;
    bool table = false;
    /// Entries shown per kind of booking; 0 shows all.
    std::size_t tableRows = 12;
    /// Columns that the output may take.
    std::size_t width = 100;
    /// Seconds by which a program that COM has started outlives its last client: the component gives its
    /// object back and asks for a new one straight away, and must not be sent to one that is just ending.
    unsigned linger = 2;
};

/// `arguments` without the program's name. Nothing when help was asked for; `help` then holds its text.
/// Throws Failure when the arguments do not make sense together.
std::optional<CommandLine> ParseCommandLine(const std::vector<std::wstring>& arguments, std::wstring& help);

}  // namespace kandora::simulators
