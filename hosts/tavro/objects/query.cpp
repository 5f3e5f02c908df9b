#include "hosts/tavro/objects/members.h"
#include "hosts/tavro/objects/objects_internal.h"
#include "strings/strings.h"

namespace tavro::objects_internal {

namespace m = members;

namespace {

constexpr std::int32_t kColumnCount = static_cast<std::int32_t>(std::size(m::kSummaryColumns));

// Flags come as the numbers 0 and 1, as the add-in reads them (non-zero is true).
Variant Flag(bool value) { return static_cast<std::int32_t>(value ? 1 : 0); }

Variant ColumnOf(const SummaryRow& row, std::int32_t column) {
    switch (column) {
        case 1:
            return row.name;
        case 2:
            return row.super;
        case 3:
            return Flag(row.hidden);
        case 4:
            return Flag(row.datatype);
        case 5:
            return Flag(row.system);
        case 6:
            return Flag(row.final);
        case 7:
            return Flag(row.persistent);
        case 8:
            return Flag(row.serial);
        case 9:
            return row.timeChanged;
        case 10:
            return row.sqlTableName;
    }
    Refuse("no column " + std::to_string(column) + " in query Summary");
}

// One row per class of the namespace and per server class, read when the query is executed.
class SummaryResultSet : public NamedObject {
  public:
    explicit SummaryResultSet(SessionRef session) : session_(std::move(session)) {}

    Variant Dispatch(std::string_view name, CallKind, const Args& args) override {
        if (strings::EqualNoCase(name, m::kExecute)) {
            try {
                rows_ = SummaryOf(*session_->store, session_->ns);
            } catch (const StoreError& error) {
                Refuse(error.what());
            }
            next_ = 0;
            executed_ = true;
            return {};
        }
        if (strings::EqualNoCase(name, m::kNext)) {
            if (!executed_ || next_ >= rows_.size()) return false;
            ++next_;
            return true;
        }
        if (strings::EqualNoCase(name, m::kClose)) {
            rows_.clear();
            executed_ = false;
            next_ = 0;
            return {};
        }
        if (strings::EqualNoCase(name, m::kColumnCount)) return kColumnCount;
        if (strings::EqualNoCase(name, m::kColumnName)) {
            std::int32_t column = Arg(args, 0).ToInt32();
            if (column < 1 || column > kColumnCount)
                Refuse("no column " + std::to_string(column) + " in query Summary");
            return m::kSummaryColumns[column - 1];
        }
        if (strings::EqualNoCase(name, m::kColumnValue)) {
            if (next_ == 0) Refuse("the query Summary has no current row");
            return ColumnOf(rows_[next_ - 1], Arg(args, 0).ToInt32());
        }
        MemberNotFound();
    }

  private:
    SessionRef session_;
    std::vector<SummaryRow> rows_;
    std::size_t next_ = 0;  // 1-based position of the current row, 0 before the first
    bool executed_ = false;
};

}  // namespace

ObjectRef NewSummaryResultSet(SessionRef session) {
    return std::make_shared<SummaryResultSet>(std::move(session));
}

}  // namespace tavro::objects_internal
