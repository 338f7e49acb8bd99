// The savepoints of a transaction: those of its levels, and one after each statement, which is where the transaction
// goes back to when the next one fails.
//
// The server hears of them in the message of the next statement. That message may fail at any place, and when the
// server cannot read it nothing of it has happened. So each point has a name of its own, and what a message releases
// is followed by a new point at once: by trying their names one learns how far the server has come.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace qmtrain::odbc {

class Savepoints {
public:
    // A transaction begins, or has ended.
    void Clear();

    void OpenLevel();

    // Only so many levels are left; what was done in those beyond them is kept.
    void Merge(std::size_t levels);

    // The same, but it is to be undone: the name of the point to go back to, empty where the server knows of none.
    std::u16string Undo(std::size_t levels);

    // The statements that go with one in its message, before it and after it, and what follows from how it ends.
    struct Message {
        std::vector<std::u16string> before;
        std::vector<std::u16string> after;

        // Where to go back to when it fails: the first one that the server knows.
        std::vector<std::u16string> places;
    };
    Message Next();

    // The message has succeeded.
    void Succeeded();

    // It has failed, and the server has gone back to this one of its places.
    void WentBackTo(const std::u16string& place);

    // False: what a statement that fails leaves behind can be undone with the transaction alone.
    bool Any() const { return !known_.empty(); }

private:
    std::u16string NewName();

    unsigned names_ = 0;
    std::vector<std::u16string> levels_;  // those that are open, outermost first
    std::vector<std::u16string> known_;   // what the server has, in the order in which it was set

    // What it has once the last message has succeeded; before its own statement, once that has failed.
    std::vector<std::u16string> after_;
    std::vector<std::u16string> between_;
};

}  // namespace qmtrain::odbc
