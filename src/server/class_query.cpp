// The class query "Summary": the classification of every server class, and the transfer
// window's list of server classes.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <functional>

#include "platform/platform.h"
#include "server/members.h"
#include "server/server.h"
#include "window/window.h"

namespace server {

namespace f = members::factory;
namespace rs = members::resultset;
namespace col = members::summary;
using automation::CallByName;
using automation::ObjectRef;
using automation::Variant;

ClassTypes ServerClassTypes;

namespace {

std::string UpperCase(std::string_view text) {
    std::string upper(text);
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return upper;
}

// Runs one step of a routine that passes over its errors and goes on with the next step.
void PassOverErrors(const std::function<void()>& step) {
    try {
        step();
    } catch (const std::exception&) {
        // The step is skipped; what it would have produced stays as it was.
    }
}

// A flag column is true when it holds the text "1" or a non-zero number.
bool IsTrueFlag(const Variant& value) {
    switch (value.Type()) {
        case automation::VariantType::Empty:
        case automation::VariantType::Object:
            return false;
        case automation::VariantType::Bool:
            return value.AsBool();
        case automation::VariantType::Int16:
        case automation::VariantType::Int32:
            return value.ToInt32() != 0;
        case automation::VariantType::String: {
            const std::string& text = value.AsString();
            if (text.empty()) return false;
            char* end = nullptr;
            double number = std::strtod(text.c_str(), &end);
            return *end == '\0' && number != 0.0;
        }
    }
    return false;
}

// The column positions of the query by name (0: not found); a column named twice gives its
// last position, as a walk over the columns that notes each name leaves it.
struct Column {
    const char* name;
    std::int32_t position = 0;
};

// Notes the position of each wanted column; false when any is missing.
bool FindColumns(const ObjectRef& query, Column* columns, std::size_t count) {
    std::int32_t columnCount = 0;
    PassOverErrors([&] { columnCount = CallByName(query, rs::kColumnCount).ToInt32(); });
    for (std::int32_t i = 1; i <= columnCount; ++i) {
        PassOverErrors([&] {
            std::string name = CallByName(query, rs::kColumnName, {i}).ToString();
            for (std::size_t k = 0; k < count; ++k) {
                if (name == columns[k].name) columns[k].position = i;
            }
        });
    }
    for (std::size_t k = 0; k < count; ++k) {
        if (columns[k].position == 0) return false;
    }
    return true;
}

[[noreturn]] void QueryIsBroken() {
    platform::MessageBox("Internal Error in ClassInfo Query", platform::Buttons::Ok);
    platform::EndProcess();
}

ObjectRef OpenSummaryQuery() {
    ObjectRef query;
    PassOverErrors([&] {
        query = CallByName(ServerFactory, f::kOpenQuery,
                           {members::classes::kClassDefinition, members::classes::kSummaryQuery})
                    .ToObject();
    });
    return query;
}

// A row that cannot be moved to ends the walk: there is no telling where the query stands.
bool NextRow(const ObjectRef& query) {
    try {
        return CallByName(query, rs::kNext).ToBool();
    } catch (const std::exception&) {
        return false;
    }
}

// Over our sockets the rows travel many at a time: the calls of the next rounds of the loop
// go out together (see automation::SendLoopAhead), each round a "Next" and the reads of the
// columns the loop may read, in the order it reads them.
class RowsAhead {
  public:
    RowsAhead(ObjectRef query, std::initializer_list<const Column*> columns)
        : query_(std::move(query)) {
        calls_.push_back({rs::kNext, {}, false});
        for (const Column* column : columns) {
            calls_.push_back({rs::kColumnValue, {column->position}, true});
        }
    }
    // Before each "Next". A short result set costs the server few calls past its end: the
    // rounds sent at once start few and double up to a bound.
    void Refill() {
        if (left_-- > 0) return;
        automation::SendLoopAhead(query_, calls_, rounds_);
        left_ = rounds_ - 1;
        rounds_ = std::min(rounds_ * 2, kMaxRounds);
    }

  private:
    static constexpr int kMaxRounds = 256;
    ObjectRef query_;
    std::vector<automation::LoopCall> calls_;
    int rounds_ = 8;
    int left_ = 0;
};

// The flag in the current row; a value that cannot be read counts as not set.
bool RowFlag(const ObjectRef& query, const Column& column) {
    bool set = false;
    PassOverErrors(
        [&] { set = IsTrueFlag(CallByName(query, rs::kColumnValue, {column.position})); });
    return set;
}

}  // namespace

bool ClassTypes::Add(std::string_view name, ClassDesc desc) {
    return map_.emplace(UpperCase(name), desc).second;
}

const ClassDesc* ClassTypes::Find(std::string_view name) const {
    auto it = map_.find(UpperCase(name));
    return it == map_.end() ? nullptr : &it->second;
}

void LoadServerClassTypes(ClassTypes& types) {
    ObjectRef query = OpenSummaryQuery();
    // Every column the classification may ever need must be there, even those it does not
    // read: a query without them is not the query this add-in knows.
    Column columns[] = {{col::kName},   {col::kSystem},   {col::kPersistent}, {col::kSuper},
                        {col::kHidden}, {col::kDatatype}, {col::kSerial}};
    if (!FindColumns(query, columns, std::size(columns))) QueryIsBroken();
    const Column& name = columns[0];
    const Column& persistent = columns[2];
    const Column& datatype = columns[5];
    const Column& serial = columns[6];

    PassOverErrors([&] { CallByName(query, rs::kExecute); });
    RowsAhead rows(query, {&datatype, &persistent, &serial, &name});
    for (;;) {
        rows.Refill();
        if (!NextRow(query)) break;
        ClassDesc desc;
        if (RowFlag(query, datatype)) {
            desc.ClassType = kDatatypeClass;
        } else if (RowFlag(query, persistent)) {
            desc.ClassType = kPersistentClass;
        } else if (RowFlag(query, serial)) {
            desc.ClassType = kSerialClass;
        } else {
            desc.ClassType = kOtherClass;
        }
        // A second row under a name already present leaves the first one in place.
        PassOverErrors([&] {
            types.Add(CallByName(query, rs::kColumnValue, {name.position}).ToString(), desc);
        });
    }
    PassOverErrors([&] { CallByName(query, rs::kClose); });
}

void LoadTavroClassList() {
    while (!ConnectToServer(ServerNamespace)) {
        if (platform::MessageBox("Unable to connect to Tavro", platform::Buttons::RetryCancel) !=
            platform::Answer::Retry) {
            platform::EndProcess();
        }
    }
    window::TransferWindow& form = *window::frmImportExport;
    form.StatusMessage("Connected to " + ServerNamespace);
    form.SetNamespaceOrModelCaption("Tavro Namespace: " + ServerNamespace);

    ObjectRef query = OpenSummaryQuery();
    Column columns[] = {{col::kName}, {col::kDatatype}, {col::kSystem}};
    if (!FindColumns(query, columns, std::size(columns))) QueryIsBroken();
    const Column& name = columns[0];
    const Column& datatype = columns[1];
    const Column& system = columns[2];

    window::ClassList& available = form.lstAvailableClasses();
    available.Clear();
    bool includeDatatype = form.CheckValue(window::CheckBox::IncludeDatatype) != 0;
    bool includeSystem = form.CheckValue(window::CheckBox::IncludeSystem) != 0;
    PassOverErrors([&] { CallByName(query, rs::kExecute); });
    RowsAhead rows(query, {&datatype, &system, &name});
    for (;;) {
        rows.Refill();
        if (!NextRow(query)) break;
        if (!includeDatatype && RowFlag(query, datatype)) continue;
        if (!includeSystem && RowFlag(query, system)) continue;
        PassOverErrors([&] {
            available.AddItem(CallByName(query, rs::kColumnValue, {name.position}).ToString());
        });
    }
    PassOverErrors([&] { CallByName(query, rs::kClose); });
}

}  // namespace server
