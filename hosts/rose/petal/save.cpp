// Reading and saving files so that a save loses nothing: a file is read only when it is a
// regular file of sane size, and replaced only by text that reads back as the tree it came from.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "hosts/rose/petal/petal.h"
#include "hosts/rose/petal/petal_internal.h"

namespace petal {
namespace {

// GB18030 holds every character, and the readers of the format that honour charSet know it.
constexpr int kEveryCharacterCharSet = 134;
// Lines of a refusal that names unencodable text; the rest are counted.
constexpr size_t kMaxLostLines = 40;

std::string ErrnoText(const std::string& what, const std::string& path) {
    return what + " " + path + ": " + std::strerror(errno);
}

bool FileExists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

std::string Describe(const Object& o) {
    std::string text = "(object " + o.kind;
    for (const std::string& name : o.names) text += " \"" + name + "\"";
    return text;
}

const Object& Substituted(const Object& object, const ObjectSubstitute& substitute) {
    if (!substitute) return object;
    const Object* other = substitute(object);
    return other != nullptr ? *other : object;
}

bool SameObject(const Object& wrote, const Object& read, const ObjectSubstitute& substitute,
                std::string& where);

bool SameValue(const Value& wrote, const Value& read, const ObjectSubstitute& substitute,
               std::string& where) {
    if (wrote.kind != read.kind) return false;
    if (wrote.kind == ValueKind::Object) {
        if (!wrote.object || !read.object) return wrote.object == read.object;
        return SameObject(*wrote.object, *read.object, substitute, where);
    }
    if (wrote.kind != ValueKind::List) return wrote == read;
    if (wrote.name != read.name || wrote.items.size() != read.items.size()) return false;
    for (size_t i = 0; i < wrote.items.size(); ++i) {
        if (!SameValue(wrote.items[i], read.items[i], substitute, where)) return false;
    }
    return true;
}

// Compares as the writer wrote: objects replaced by `substitute` first. `where` names the
// innermost object that differs.
bool SameObject(const Object& wrote, const Object& read, const ObjectSubstitute& substitute,
                std::string& where) {
    const Object& o = Substituted(wrote, substitute);
    if (o.kind != read.kind || o.names != read.names || o.tag != read.tag ||
        o.fields.size() != read.fields.size()) {
        where = Describe(o) + " reads back as " + Describe(read);
        return false;
    }
    for (size_t i = 0; i < o.fields.size(); ++i) {
        const Field& field = o.fields[i];
        if (field.key == read.fields[i].key &&
            SameValue(field.value, read.fields[i].value, substitute, where)) {
            continue;
        }
        if (where.empty()) where = Describe(o) + " reads back with another " + field.key;
        return false;
    }
    return true;
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (size_t i = 0; i < lines.size() && i < kMaxLostLines; ++i) text += "\n  " + lines[i];
    if (lines.size() > kMaxLostLines) {
        text += "\n  and " + std::to_string(lines.size() - kMaxLostLines) + " more";
    }
    return text;
}

// Writes `bytes` to `path` whatever stands there; for keeping text that failed its check.
std::string WritePlainFile(const std::string& path, std::string_view bytes) {
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) return ErrnoText("cannot create", path);
    size_t done = 0;
    while (done < bytes.size()) {
        ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        done += static_cast<size_t>(n);
    }
    std::string error = done == bytes.size() ? "" : ErrnoText("cannot write", path);
    if (::close(fd) != 0 && error.empty()) error = ErrnoText("cannot write", path);
    return error;
}

}  // namespace

namespace detail {

std::string DirectoryOf(const std::string& path) {
    size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

}  // namespace detail

std::string ReadRegularFile(const std::string& path, std::string& bytes) {
    bytes.clear();
    // Non-blocking, so that opening a FIFO without a writer does not wait for one.
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) return ErrnoText("cannot read", path);
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        std::string error = ErrnoText("cannot read", path);
        ::close(fd);
        return error;
    }
    const std::string tooLarge = "cannot read " + path + ": larger than " +
                                 std::to_string(kMaxFileBytes >> 20) + " MiB, the most read";
    if (!S_ISREG(info.st_mode)) {
        ::close(fd);
        return "cannot read " + path + ": not a regular file";
    }
    if (static_cast<std::uint64_t>(info.st_size) > kMaxFileBytes) {
        ::close(fd);
        return tooLarge;
    }
    bytes.resize(static_cast<size_t>(info.st_size));
    size_t done = 0;
    // The file may grow while it is read: read on until its end, within the limit.
    while (true) {
        if (done == bytes.size()) {
            if (bytes.size() > kMaxFileBytes) break;
            bytes.resize(bytes.size() + 65536);
        }
        ssize_t n = ::read(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            std::string error = ErrnoText("cannot read", path);
            ::close(fd);
            bytes.clear();
            return error;
        }
        if (n == 0) break;
        done += static_cast<size_t>(n);
    }
    ::close(fd);
    bytes.resize(done);
    if (done > kMaxFileBytes) {
        bytes.clear();
        return tooLarge;
    }
    return "";
}

std::string ReadBackDifference(std::string_view bytes, const Object& header, const Object& root,
                               const ObjectSubstitute& substitute) {
    File read;
    ParseResult parsed = ParseDocument(bytes, read);
    if (!parsed) {
        return "line " + std::to_string(parsed.line) + ", column " + std::to_string(parsed.column) +
               ": " + parsed.message;
    }
    std::string where;
    if (!SameObject(header, read.header, {}, where)) return where;
    if (!SameObject(root, read.root, substitute, where)) return where;
    return "";
}

std::vector<Document::Output> Document::Outputs(const std::string& path) {
    std::vector<Output> outputs;
    VisitObjects(model_.root, [&](const Object& o) {
        const Unit* unit = &o == &model_.root ? nullptr : LoadedUnitOf(o);
        if (unit == nullptr) return;
        Output out{unit->path, unit->header, &o, unit->lineEnd, {}, {}};
        // A unit's file holds its own category whole and the units inside it as stubs.
        out.substitute = [this, &o](const Object& inner) -> const Object* {
            if (&inner == &o) return nullptr;
            const Unit* u = LoadedUnitOf(inner);
            return u ? &u->stub : nullptr;
        };
        outputs.push_back(std::move(out));
    });
    Output model{path, model_.header, &model_.root, model_.lineEnd, {}, {}};
    model.substitute = [this](const Object& o) -> const Object* {
        if (&o == &model_.root) return nullptr;
        const Unit* u = LoadedUnitOf(o);
        return u ? &u->stub : nullptr;
    };
    outputs.push_back(std::move(model));
    return outputs;
}

std::string Document::Save() { return SaveAs(path_); }

std::string Document::SaveAs(const std::string& path) {
    // A renamed unit category keeps its stub's name in step.
    for (Unit& unit : units_) {
        VisitObjects(model_.root, [&](const Object& o) {
            if (&o != &model_.root && LoadedUnitOf(o) == &unit) unit.stub.names = o.names;
        });
    }
    std::vector<Output> outputs = Outputs(path);

    // Text no file's code page can hold refuses the save before anything is written.
    std::vector<std::string> lost;
    for (Output& out : outputs) {
        std::vector<std::string> lostHere;
        out.bytes = WriteDocument(out.header, *out.root, out.lineEnd, out.substitute, lostHere);
        bool isModel = out.root == &model_.root;
        if (!lostHere.empty() && isModel && path != path_) {
            // The model goes to a file other than its own: it may take a code page that
            // holds everything rather than lose text.
            Object header = out.header;
            SetField(header, "charSet", MakeInteger(kEveryCharacterCharSet));
            std::vector<std::string> stillLost;
            std::string bytes =
                WriteDocument(header, *out.root, out.lineEnd, out.substitute, stillLost);
            if (stillLost.empty()) {
                out.header = std::move(header);
                out.bytes = std::move(bytes);
                lostHere.clear();
            }
        }
        if (lostHere.empty()) continue;
        lost.push_back(out.path + " (code page " +
                       detail::TextCodec(detail::HeaderCharSet(out.header)).Name() + "):");
        for (std::string& line : lostHere) lost.push_back("  " + line);
    }
    if (!lost.empty()) {
        return "nothing saved: text that its file's code page cannot hold would turn into '?'; "
               "change it, or save the model under a new name (written in code page GB18030, "
               "charSet 134, which holds every character):" +
               Joined(lost);
    }

    // Every new text must read back as the tree before any file is replaced.
    for (const Output& out : outputs) {
        std::string difference =
            ReadBackDifference(out.bytes, out.header, *out.root, out.substitute);
        if (difference.empty()) continue;
        std::string rejected = out.path + ".rejected";
        std::string kept = WritePlainFile(rejected, out.bytes);
        return "nothing saved: the new text of " + out.path + " does not read back as the model (" +
               difference + "); " + out.path + " is left as it was" +
               (kept.empty() ? ", and the new text is in " + rejected : " (" + kept + ")");
    }

    for (const Output& out : outputs) {
        std::string error = SaveFileAtomically(out.path, out.bytes);
        if (!error.empty()) return error;
        if (out.root == &model_.root) model_.header = out.header;
    }
    path_ = path;
    return "";
}

std::string SaveFileAtomically(const std::string& path, std::string_view bytes) {
    std::string temp = path + ".tmp-XXXXXX";
    int fd = ::mkstemp(temp.data());
    if (fd < 0) return ErrnoText("cannot create a file beside", path);
    struct stat previous {};
    ::fchmod(fd, ::stat(path.c_str(), &previous) == 0 ? (previous.st_mode & 07777) : 0644);
    const char* data = bytes.data();
    size_t left = bytes.size();
    while (left > 0) {
        ssize_t n = ::write(fd, data, left);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            std::string error = ErrnoText("cannot write", temp);
            ::close(fd);
            ::unlink(temp.c_str());
            return error;
        }
        data += n;
        left -= static_cast<size_t>(n);
    }
    if (::fsync(fd) != 0 || ::close(fd) != 0) {
        std::string error = ErrnoText("cannot flush", temp);
        ::unlink(temp.c_str());
        return error;
    }
    // The previous file stays reachable under both names until the new one replaces it,
    // so that at every moment "path" is a whole file.
    std::string backup = path + ".bak";
    if (FileExists(path)) {
        ::unlink(backup.c_str());
        if (::link(path.c_str(), backup.c_str()) != 0 &&
            ::rename(path.c_str(), backup.c_str()) != 0) {
            std::string error = ErrnoText("cannot keep the previous file as", backup);
            ::unlink(temp.c_str());
            return error;
        }
    }
    if (::rename(temp.c_str(), path.c_str()) != 0) {
        std::string error = ErrnoText("cannot rename the new file to", path);
        ::unlink(temp.c_str());
        return error;
    }
    int dir = ::open(detail::DirectoryOf(path).c_str(), O_RDONLY | O_DIRECTORY);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return "";
}

}  // namespace petal
