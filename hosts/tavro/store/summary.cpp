#include <algorithm>
#include <cctype>
#include <unordered_map>

#include "hosts/tavro/store/store.h"
#include "hosts/tavro/store/store_internal.h"

namespace tavro {

namespace si = store_internal;

namespace {

struct Row {
    SummaryRow summary;
    std::string classType;
};

std::string Upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

std::string Lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string PrimarySuper(const SummaryRow& row) {
    std::string super = row.super.substr(0, row.super.find(','));
    return QualifyInPackage(super, PackageOf(row.name));
}

// A class without a class type of its own takes the kind of its primary super class, as a
// subclass of a persistent class is persistent. Chains are short; the depth limit only
// guards against a cycle that saved definitions may form.
std::string EffectiveType(const std::vector<Row>& rows,
                          const std::unordered_map<std::string, std::size_t>& byName,
                          std::size_t index) {
    for (int depth = 0; depth < 64; ++depth) {
        const Row& row = rows[index];
        if (!row.classType.empty()) return Lower(row.classType);
        auto it = byName.find(Upper(PrimarySuper(row.summary)));
        if (it == byName.end()) return "";
        index = it->second;
    }
    return "";
}

}  // namespace

std::vector<SummaryRow> SummaryOf(Store& store, const std::string& ns) {
    std::vector<Row> rows;
    si::Statement query(store,
                        "SELECT name, super, class_type, hidden, final, sql_table_name, saved_at "
                        "FROM classes WHERE namespace = ? OR namespace = '%SYS' ORDER BY name");
    query.Bind(1, ns);
    while (query.Step()) {
        Row row;
        row.summary.name = query.Text(0);
        row.summary.super = query.Text(1);
        row.classType = query.Text(2);
        row.summary.hidden = query.Int(3) != 0;
        row.summary.final = query.Int(4) != 0;
        row.summary.sqlTableName = query.Text(5);
        row.summary.timeChanged = query.Text(6);
        row.summary.system = !row.summary.name.empty() && row.summary.name[0] == '%';
        rows.push_back(std::move(row));
    }
    std::unordered_map<std::string, std::size_t> byName;
    for (std::size_t i = 0; i < rows.size(); ++i) byName.emplace(Upper(rows[i].summary.name), i);
    std::vector<SummaryRow> result;
    result.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        std::string type = EffectiveType(rows, byName, i);
        SummaryRow summary = rows[i].summary;
        summary.datatype = type == "datatype";
        summary.persistent = type == "persistent";
        summary.serial = type == "serial";
        result.push_back(std::move(summary));
    }
    return result;
}

}  // namespace tavro
