// Statements that a server keeps ready under a name: it need not read and plan them again, and the driver, which looks
// at each character of what it sends, has less to look at.
//
// A statement is prepared when it comes for the second time. Its name comes from its text and the types of its values,
// for behind a pool of connections each message may meet another one: what that has under the name means the same, or
// it has nothing.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "odbc/request.h"

namespace qmtrain::odbc {

class PreparedStatements {
public:
    class Entry {
    public:
        explicit Entry(std::u16string_view declaration);

        // What has to be sent before it is called.
        std::vector<std::u16string> Preparing(const Request& request) const;
        std::u16string Calling(const Request& request) const;

        // It was called, and is there now.
        void Called();

        // Told the state of an error. True: the server has not under this name what was thought, or it no longer fits
        // the tables; nothing has been done, and the next call takes that into account.
        bool Correct(std::u16string_view state);

    private:
        friend class PreparedStatements;

        std::u16string name_;
        int uses_ = 0;
        bool is_there_ = false;
        bool is_old_ = false;  // and no longer fits the tables
        bool unfit_ = false;   // a column takes none of the types that its values are given
    };

    // Null: the request is better sent as a whole. Good until the next call.
    Entry* Use(const Request& request);

    // Tables have changed: the statements of all connections are prepared anew when they come again.
    static void OutdateAll();

private:
    void TakeOutdating();

    std::unordered_map<std::u16string, Entry> entries_;  // by declaration
    std::size_t prepared_ = 0;
    unsigned seen_ = 0;  // how often all have been outdated
};

}  // namespace qmtrain::odbc
