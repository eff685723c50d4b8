// What the command `zelkor` does, one function a subcommand. Each prints its result and returns the exit status.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zelkor::command {

enum ExitStatus { success = 0, findings = 1, misuse = 2 };

int compile(const std::filesystem::path& input, const std::filesystem::path& output);
/// To the standard output when `output` is empty.
int decompile(const std::filesystem::path& input, const std::filesystem::path& output);
int show(const std::filesystem::path& input, bool json);
int listReleases(bool json);
/// Of all releases, with blanks between them.
std::string releaseNames();
/// Writes a copy for another release and tells what it cannot hold; with `strict` nothing is written then.
int exportFile(const std::filesystem::path& input, const std::string& release, const std::filesystem::path& output,
               bool strict, bool json);
/// Brings files up to date where they are; with `backup` the old ones stay beside them. With `leaveOut`, models that
/// find all of their profiles go without what these cannot take over; the old file stays then, too.
int upgradeFiles(const std::vector<std::string>& paths, bool backup, bool leaveOut, bool json);
int check(const std::vector<std::string>& inputs, bool json);

} // namespace zelkor::command
