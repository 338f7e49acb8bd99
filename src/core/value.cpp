#include "core/value.h"

namespace qmtrain {

// The enumeration stands for the variant's index; this keeps the two in step.
static_assert(static_cast<int>(Value::Type::Binary) == 12);

}  // namespace qmtrain
