#include "test_util.h"

namespace petal_test {

std::string Document(const std::string& headerFields, const std::string& root) {
    return "\n(object Petal\n" + headerFields + ")\n\n" + root + "\n";
}

int CountKind(const petal::Object& root, const std::string& kind) {
    int count = 0;
    petal::VisitObjects(root, [&](const petal::Object& o) { count += o.kind == kind ? 1 : 0; });
    return count;
}

petal::Object* FindNamed(petal::Object& root, const std::string& kind, const std::string& name) {
    petal::Object* found = nullptr;
    petal::VisitObjects(root, [&](petal::Object& o) {
        if (found == nullptr && o.kind == kind && !o.names.empty() && o.names[0] == name)
            found = &o;
    });
    return found;
}

}  // namespace petal_test
