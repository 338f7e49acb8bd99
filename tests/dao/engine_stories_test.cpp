// The stories with our own engine; another one must give the same outcome.
#include "dao/engine_stories.h"

#include <gtest/gtest.h>

namespace qmtrain::test {
namespace {

TEST(EngineTest, TellsEveryStory) {
    for (const Story& story : Stories()) {
        SCOPED_TRACE(story.name);
        RunStory(story);
    }
}

}  // namespace
}  // namespace qmtrain::test
