// What hosts do with an engine, each step with what it gives: stories that have one outcome with every engine.
#pragma once

#include <string>
#include <vector>

namespace qmtrain::test {

struct Story {
    const char* name;
    void (*run)(const std::u16string& folder);

    // What stands in the tables afterwards.
    std::vector<std::string> notes;
    std::vector<std::string> subjects;
};

const std::vector<Story>& Stories();

// Runs it with the current engine, on a new client database of three subjects.
void RunStory(const Story& story);

}  // namespace qmtrain::test
