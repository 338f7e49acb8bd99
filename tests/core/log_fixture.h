// The log in a folder of its own.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "core/files.h"
#include "core/log_reader.h"
#include "jet/support/scratch.h"

namespace qmtrain::test {

class LogTest : public testing::Test {
protected:
    LogTest() { LogTo(folder_.Path()); }
    ~LogTest() override { SetComponentFolder(ProgramFolder()); }

    std::string Text() const { return ReadLogText(LogFile()); }

    ScratchFolder folder_;
};

}  // namespace qmtrain::test
