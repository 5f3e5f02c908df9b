#pragma once
// Petal files (.mdl models and their controlled units, .cat/.sub/...) as a lossless tree.
//
// Every object, key and value of a file is kept in file order, whether rose-host models it or
// not, and written back in the modelling tool's own layout: a file that was read and not
// changed is written back byte for byte; an edited or new element is laid out the same way.
// Text is UTF-8 in memory and in the file's code page (the header's charSet) on disk.

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace petal {

struct Object;

enum class ValueKind {
    String,     // "text", or a block of '|' lines
    Integer,    // 42, -2 (token text kept in `text`)
    Float,      // 0.250000 (token text kept in `text`)
    Boolean,    // TRUE / FALSE
    Tag,        // @12, a diagram-local view number (digits in `text`)
    Point,      // (x, y)
    Enum,       // ("SetName" 211): name in `text`, number in `x`
    TypedText,  // (value cardinality "0..n"): type name in `name`, text in `text`
    Object,     // (object Kind ...)
    List,       // (list Name item...)
};

// One value of the tree. Which members count depends on `kind` (see ValueKind).
struct Value {
    ValueKind kind = ValueKind::String;
    std::string text;  // String/TypedText: UTF-8 text ('\n' line breaks); numbers/tags: token
    std::string name;  // TypedText: type name; List: list name ("" when it has none)
    bool boolean = false;
    bool block = false;         // String/TypedText: read as a '|' block (kept so when rewritten)
    std::int64_t x = 0, y = 0;  // Point; Enum: x is the number
    std::unique_ptr<Object> object;  // Object
    std::vector<Value> items;        // List

    Value();
    Value(const Value& other);
    Value(Value&& other) noexcept;
    Value& operator=(const Value& other);
    Value& operator=(Value&& other) noexcept;
    ~Value();
};

struct Field {
    std::string key;
    Value value;
};

// (object Kind "name" "name2" @tag key value ...): keys may repeat and their order matters.
struct Object {
    std::string kind;
    std::vector<std::string> names;  // 0, 1 or 2 header strings, UTF-8
    int tag = 0;                     // 0 when the header has no @tag
    std::vector<Field> fields;
};

bool operator==(const Value& a, const Value& b);
bool operator==(const Object& a, const Object& b);
bool operator==(const Field& a, const Field& b);

enum class LineEnd { CrLf, Lf };

// One Petal file: the (object Petal ...) header and the root (Design, or a unit's category).
struct File {
    Object header;
    Object root;
    LineEnd lineEnd = LineEnd::CrLf;
};

// Outcome of a parse, in the manner of an XML parser's result: where it stopped and why.
struct ParseResult {
    bool ok = false;
    int line = 0;    // 1-based line of the error (0 when ok)
    int column = 0;  // 1-based byte column of the error
    std::string message;
    explicit operator bool() const { return ok; }
};

// Parses a whole Petal file held in memory. Never throws for bad input and never reads past
// `bytes`; on failure `out` holds whatever was read so far and must not be used.
ParseResult ParseDocument(std::string_view bytes, File& out);

// Replaces an object, while writing, by another one (or leaves it when it gives nullptr);
// lets a model write controlled units as stubs.
using ObjectSubstitute = std::function<const Object*(const Object&)>;

// The file's bytes in the modelling tool's layout, text converted to the header's charSet.
std::string WriteDocument(const File& file, const ObjectSubstitute& substitute = {});
std::string WriteDocument(const Object& header, const Object& root, LineEnd lineEnd,
                          const ObjectSubstitute& substitute = {});
// As above, and adds to `lost` one line for each element and field whose text the code page
// cannot hold (written as '?'), naming the element, the field and each such character.
std::string WriteDocument(const Object& header, const Object& root, LineEnd lineEnd,
                          const ObjectSubstitute& substitute, std::vector<std::string>& lost);
// Where the file `bytes` does not read back as `header` and `root` (objects replaced by
// `substitute` as when they were written): "" when it does, else the parser's complaint or
// the first element that reads back otherwise.
std::string ReadBackDifference(std::string_view bytes, const Object& header, const Object& root,
                               const ObjectSubstitute& substitute = {});

// --- Building and editing ---------------------------------------------------------------

Value MakeString(std::string_view utf8);
Value MakeInteger(std::int64_t number);
Value MakeBoolean(bool flag);
Value MakeTag(int tag);
Value MakePoint(std::int64_t x, std::int64_t y);
Value MakeEnum(std::string_view setName, std::int64_t number);
Value MakeTypedText(std::string_view typeName, std::string_view utf8);
Value MakeList(std::string_view listName);
Value MakeObject(Object object);
// A new object; `name` becomes its header string unless empty, `quid` its first field unless empty.
Object NewObject(std::string_view kind, std::string_view name = {}, std::string_view quid = {});

// First field with `key`, or nullptr.
Value* FindField(Object& object, std::string_view key);
const Value* FindField(const Object& object, std::string_view key);
// Text of the first field with `key` when it is a string or typed text, else "".
std::string GetText(const Object& object, std::string_view key);
// Replaces the value of the first field with `key`; when there is none, inserts the field
// where the modelling tool writes that key for this kind of object. Returns the stored value.
Value& SetField(Object& object, std::string_view key, Value value);
// Inserts a field right after the last field with key `after` (at the start when `after` is
// empty, at the end when no such field exists). Returns the stored value.
Value& InsertFieldAfter(Object& object, std::string_view after, std::string_view key, Value value);
// Removes every field with `key`; returns how many went.
int RemoveField(Object& object, std::string_view key);
// The list held by `key`, created (as an empty list named `listName`) when missing.
Value& EnsureList(Object& object, std::string_view key, std::string_view listName);
// Appends an object to a list value and returns it where it now lives.
Object& AppendObject(Value& list, Object object);
// Removes the list items that hold exactly `object` (compared by address); returns how many.
int RemoveObject(Value& list, const Object* object);
// Visits every object of the tree, depth first, parents before children.
void VisitObjects(Object& root, const std::function<void(Object&)>& visit);
void VisitObjects(const Object& root, const std::function<void(const Object&)>& visit);

// A quid as the modelling tool makes them: eight hex digits of the time, four of a counter.
std::string MakeQuid(std::time_t time, unsigned counter);

// --- Documents with controlled units -----------------------------------------------------

// Looks up a path-map symbol ("VABASE_PLUGINS_PATH" for "$VABASE_PLUGINS_PATH\..."); the
// default asks the process environment.
using PathMap = std::function<std::optional<std::string>(std::string_view symbol)>;
std::optional<std::string> EnvironmentPathMap(std::string_view symbol);

// A model file with the controlled units it references loaded into its tree: a loaded
// unit's root object takes the place of its stub (is_loaded TRUE), and is written back to
// its own file on Save. A unit that cannot be found or read stays a stub and gets a warning.
class Document {
  public:
    // Reads the model and its units. A failure to read or parse the model itself is the
    // result; a unit's failure is only a warning.
    ParseResult Load(const std::string& path, const PathMap& pathMap = EnvironmentPathMap);
    // Writes the model and every loaded unit back to their files; "" on success, otherwise
    // the reason. Each file is replaced atomically; see SaveFileAtomically. Nothing is
    // written unless every file's new text reads back as the tree: text its code page cannot
    // hold refuses the save, naming each element and character (a file's code page is the
    // one it was read with; only a model going to a file other than its own, such as a new
    // model's first save, is written in GB18030, charSet 134, when its own code page falls
    // short); a new text that reads back otherwise is left as "<file>.rejected" beside the
    // untouched file.
    std::string Save();
    // Writes the model to a new path (units stay where they are) and makes it the model's path.
    std::string SaveAs(const std::string& path);

    File& model() { return model_; }
    const File& model() const { return model_; }
    const std::string& path() const { return path_; }
    const std::vector<std::string>& warnings() const { return warnings_; }
    // Files of the loaded units, in load order.
    std::vector<std::string> UnitPaths() const;
    // A quid no loaded file has used yet.
    std::string NewQuid();

  private:
    struct Unit {
        std::string path;
        std::string quid;
        const Object* root = nullptr;  // where the unit's category lives in the model's tree
        Object header;
        Object stub;  // as the parent wrote it; written back in the unit's place
        LineEnd lineEnd = LineEnd::CrLf;
    };
    // One file a save writes.
    struct Output {
        std::string path;
        Object header;
        const Object* root = nullptr;
        LineEnd lineEnd = LineEnd::CrLf;
        ObjectSubstitute substitute;
        std::string bytes;
    };
    void LoadUnits(Object& root, const std::string& baseDir, const PathMap& pathMap, int depth);
    const Unit* LoadedUnitOf(const Object& object) const;
    std::vector<Output> Outputs(const std::string& path);

    File model_;
    std::string path_;
    std::vector<std::string> warnings_;
    std::vector<Unit> units_;
    std::vector<std::string> usedQuids_;
    unsigned quidCounter_ = 0;
};

// Where a unit's file_name points: path-map symbols replaced, '\' turned into '/', relative
// names taken from `baseDir`. Returns the candidates in the order they should be tried.
std::vector<std::string> UnitFileCandidates(std::string_view fileName, const std::string& baseDir,
                                            const PathMap& pathMap);

// The largest file rose-host reads (a model, a unit, a property file): real models stay far
// below it; it keeps a hostile or mistaken file name from eating the memory.
constexpr std::size_t kMaxFileBytes = std::size_t{256} << 20;  // 256 MiB

// Reads a whole regular file of at most kMaxFileBytes; anything else (a FIFO, a device, a
// directory) is refused without waiting on it. "" on success, otherwise the reason.
std::string ReadRegularFile(const std::string& path, std::string& bytes);

// Replaces `path` with `bytes` so that a crash leaves either the old or the new file: writes
// "<path>.tmp-XXXXXX" beside it, syncs it, keeps the previous file as "<path>.bak" and
// renames the new one into place. "" on success, otherwise the reason.
std::string SaveFileAtomically(const std::string& path, std::string_view bytes);

}  // namespace petal
