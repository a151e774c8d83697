#pragma once

#include "Tessary/Model/ComparisonList.h"

namespace tessary {

// One change to a user list, named by its kind. Every change passes through `ListStore` as
// one of these, so whoever keeps a copy elsewhere (the account) can follow edits without
// knowing the operations that made them.
struct ListEdit {
    enum class Kind { create, rename, setTickers, setPreset, setScenario, setBenchmark, touch, remove };

    Kind kind;
    ComparisonList list; // the list after the edit; for `remove`, as it was
};

} // namespace tessary
