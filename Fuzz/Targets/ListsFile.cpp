// lists.json: what reads is saved back unchanged, since every save rewrites the whole file.

#include "Fuzz/FuzzTarget.h"

#include "Tessary/Model/ComparisonList.h"

using namespace tessary;

TESSARY_FUZZ_TARGET(lists_file)
{
    const auto array = parseJsonArray(input);
    if (!array)
        return;
    const auto lists = ComparisonList::listFromJson(*array);
    if (!lists) {
        (void)lists.error().description();
        return;
    }
    const QByteArray saved = ComparisonList::listToJson(*lists);
    const auto savedArray = parseJsonArray(saved);
    if (!savedArray)
        fuzz::fail("saved lists are not JSON", saved);
    const auto reread = ComparisonList::listFromJson(*savedArray);
    if (!reread || *reread != *lists)
        fuzz::fail("saved lists read back differently", saved);
}
