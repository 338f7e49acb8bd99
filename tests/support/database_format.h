// The format of the databases that tests make.
#pragma once

#include "core/system.h"
#include "jet/index_key.h"
#include "jet/table_spec.h"

namespace qmtrain::test {

// Jet 4, or the older form when QMTRAIN_CLIENT_FORMAT says "jet3": the tests of what uses databases run with both.
inline jet::NewDatabase DatabaseFormat() {
    if (EnvironmentVariable("QMTRAIN_CLIENT_FORMAT") != u"jet3") return {};
    return {.sort_order = jet::kChineseOrder, .version = jet::Version::Jet3};
}

}  // namespace qmtrain::test
