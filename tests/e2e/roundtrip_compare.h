// Comparing the definitions of two exports of one model, the second made from a model that
// the first was imported into, up to the differences the trip makes by design.
#pragma once

#include <map>
#include <string>

#include "hosts/tavro/xml/dictionary.h"

// Differences between the two exports that the trip through the model makes by design, each
// with its reason. Anything else is a fault.
struct KnownDifference {
    const char* kind;
    const char* reason;
};
inline constexpr int kKnownDifferenceCount = 3;
extern const KnownDifference kKnownDifferences[kKnownDifferenceCount];

// Every keyword of the class, its members and hidden parts in both exports (a keyword left
// out counts as its initial value; the save times differ by when each export ran). Known
// differences are counted in `known` by kind; the others are test failures.
void CompareDefinitions(const tavro::ClassDef& first, const tavro::ClassDef& second,
                        std::map<std::string, int>& known);
