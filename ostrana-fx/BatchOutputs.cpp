#include "BatchOutputs.h"

#include <sys/stat.h>

#include <filesystem>
#include <map>

#include "CommandError.h"

namespace ostrana::fx {

namespace {

namespace fs = std::filesystem;

// One spelling for every path that names the same file ("a/../x.wav", "./x.wav", a link).
std::string sameFileKey(const std::string& path) {
    std::error_code error;
    const fs::path canonical = fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? path : canonical.string();
}

bool sameFile(const std::string& a, const std::string& b) {
    struct stat first {};
    struct stat second {};
    if (stat(a.c_str(), &first) == 0 && stat(b.c_str(), &second) == 0) {
        return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
    }
    return sameFileKey(a) == sameFileKey(b);
}

}  // namespace

std::vector<BatchOutputs::Entry> BatchOutputs::plan(const std::vector<std::string>& inputs,
                                                    const std::string& directory,
                                                    const std::string& typeName,
                                                    const std::string& suffix) {
    std::vector<Entry> entries;
    for (const std::string& input : inputs) {
        const fs::path name = fs::path(input).filename();
        fs::path output = name.stem();
        output += suffix;
        output += typeName.empty() ? name.extension() : fs::path("." + typeName);
        entries.push_back(Entry{input, (fs::path(directory) / output).string()});
    }
    return entries;
}

void BatchOutputs::check(const std::vector<Entry>& entries, bool replaceInputs) {
    std::map<std::string, const Entry*> byOutput;
    for (const Entry& entry : entries) {
        const auto [taken, added] = byOutput.emplace(sameFileKey(entry.output), &entry);
        if (!added) {
            throw CommandError::usage("inputs '" + taken->second->input + "' and '" + entry.input +
                                      "' would both be written to '" + entry.output +
                                      "'; nothing written (render them into "
                                      "different folders)");
        }
    }
    if (replaceInputs) return;
    for (const Entry& entry : entries) {
        for (const Entry& other : entries) {
            if (!sameFile(entry.output, other.input)) continue;
            throw CommandError::usage("output '" + entry.output + "' would replace the input '" +
                                      other.input +
                                      "'; nothing written (add --suffix, e.g. "
                                      "--suffix -fx, or --force to replace the inputs)");
        }
    }
}

}  // namespace ostrana::fx
