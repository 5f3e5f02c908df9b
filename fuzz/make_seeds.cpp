// Writes the starting corpora of the fuzz targets: small Petal files, frames made by
// EncodeFrame and class definitions made by RenderClassXml, one file per input.
//
// Usage: fuzz_make_seeds DIR  (creates DIR/petal, DIR/rpc_frame and DIR/class_xml)
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "automation/rpc_frame.h"
#include "hosts/rose/petal/petal.h"
#include "hosts/tavro/xml/class_xml.h"

namespace fs = std::filesystem;
namespace rpc = automation::rpc;

namespace {

bool WriteSeeds(const fs::path& dir, const std::vector<std::string>& seeds) {
    std::error_code ec;
    fs::create_directories(dir, ec);
    if (ec) return false;
    for (std::size_t i = 0; i < seeds.size(); ++i) {
        std::ofstream out(dir / ("seed-" + std::to_string(i)), std::ios::binary);
        out << seeds[i];
        if (!out) return false;
    }
    return true;
}

const char* const kPetalHeader =
    "\r\n(object Petal\r\n    version    \t42\r\n    _written   \t\"Rose 4.5.8163.3\"\r\n"
    "    charSet    \t0)\r\n\r\n";

std::vector<std::string> PetalSeeds() {
    std::vector<std::string> seeds;
    std::string header = kPetalHeader;
    seeds.push_back(header + "(object Design \"Logical View\"\r\n    is_unit    \tTRUE)\r\n");
    seeds.push_back(header +
                    "(object Class_Category \"Shop\" @3\r\n"
                    "    quid       \t\"40C81DB9027F\"\r\n"
                    "    documentation \t\r\n|first line\r\n|\"quoted\" \\ second\r\n    \r\n"
                    "    logical_models \t(list unit_reference_list\r\n"
                    "\t(object Class \"Order\"\r\n"
                    "\t    quid       \t\"40C81DB90288\"\r\n"
                    "\t    stereotype \t\"entity\"\r\n"
                    "\t    location   \t(-120, 340)\r\n"
                    "\t    width      \t0.250000\r\n"
                    "\t    label      \t@12\r\n"
                    "\t    cardinality \t(value cardinality \"0..n\")\r\n"
                    "\t    Containment \t(\"ContainmentSet\" 211)))\r\n");
    seeds.push_back(
        "\n(object Petal\n    version    \t50\n    charSet    \t128)\n\n"
        "(object Design \"\x83\x82\x83\x66\x83\x8B\"\n    name \t\"caf\xE9\")\n");
    seeds.push_back("(object Petal charSet 204)(object Design \"\xCC\xEE\xE4\xE5\xEB\xFC\")");

    petal::Object root = petal::NewObject("Class_Category", "Logical View", "3A1B2C3D004E");
    petal::Value& list = petal::EnsureList(root, "logical_models", "unit_reference_list");
    petal::Object cls = petal::NewObject("Class", "Caf\xC3\xA9", "3A1B2C3D004F");
    petal::SetField(cls, "documentation", petal::MakeString("two\nlines"));
    petal::SetField(cls, "abstract", petal::MakeBoolean(true));
    petal::SetField(cls, "exportControl", petal::MakeEnum("ExportSet", 3));
    petal::AppendObject(list, std::move(cls));
    petal::Object petalHeader = petal::NewObject("Petal");
    petal::SetField(petalHeader, "version", petal::MakeInteger(42));
    petal::SetField(petalHeader, "charSet", petal::MakeInteger(0));
    seeds.push_back(petal::WriteDocument(petalHeader, root, petal::LineEnd::Lf));
    return seeds;
}

std::vector<std::string> FrameSeeds() {
    std::vector<rpc::Message> messages;
    rpc::Message hello;
    hello.type = rpc::MessageType::Hello;
    hello.requestId = 1;
    hello.text = rpc::kHelloMagic;
    hello.count = rpc::kProtocolVersion;
    messages.push_back(hello);
    rpc::Message call;
    call.type = rpc::MessageType::Call;
    call.requestId = 2;
    call.handle = 7;
    call.kind = automation::CallKind::Put;
    call.dispid = 12;
    call.values = {std::monostate{},    true,
                   std::int16_t{-3},    std::int32_t{70000},
                   std::string("Name"), rpc::ObjectHandle{9}};
    messages.push_back(call);
    rpc::Message byName = call;
    byName.byName = true;
    byName.text = "GetRoseItem";
    byName.kind = automation::CallKind::Method;
    messages.push_back(byName);
    rpc::Message implements;
    implements.type = rpc::MessageType::Implements;
    implements.requestId = 3;
    implements.handle = 7;
    implements.text = "IRoseClass";
    messages.push_back(implements);
    rpc::Message release;
    release.type = rpc::MessageType::Release;
    release.handle = 7;
    release.count = 2;
    messages.push_back(release);
    rpc::Message reply;
    reply.type = rpc::MessageType::Reply;
    reply.requestId = 2;
    reply.values = {std::string("Order")};
    messages.push_back(reply);
    rpc::Message error;
    error.type = rpc::MessageType::Error;
    error.requestId = 3;
    error.text = "no such member";
    messages.push_back(error);

    std::vector<std::string> seeds;
    std::string all;
    for (const rpc::Message& message : messages) {
        std::string frame;
        rpc::EncodeFrame(message, frame);
        seeds.push_back(frame);
        all += frame;
    }
    seeds.push_back(all);  // several frames in one read
    return seeds;
}

std::vector<std::string> ClassXmlSeeds() {
    tavro::ClassDef def;
    def.name = "Shop.Order";
    def.values = {{"Abstract", "1"}, {"Description", "Orders < 5 & more"}};
    tavro::Item total;
    total.kind = tavro::ItemKind::Property;
    total.name = "Total";
    total.values = {{"Type", "%Integer"}};
    total.parameters = {{"MINVAL", "0"}, {"MAXVAL", "100"}};
    def.properties.push_back(total);
    tavro::Item method;
    method.kind = tavro::ItemKind::Method;
    method.name = "Place";
    def.methods.push_back(method);
    tavro::Item index;
    index.kind = tavro::ItemKind::Index;
    index.name = "ByDate";
    index.values = {{"Properties", "Date"}};
    def.others.push_back(index);
    tavro::ClassDef bare;
    bare.name = "%Demo";
    return {tavro::RenderClassXml(def), tavro::RenderClassXml(bare)};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_make_seeds DIR\n");
        return 2;
    }
    fs::path dir = argv[1];
    bool ok = WriteSeeds(dir / "petal", PetalSeeds()) &&
              WriteSeeds(dir / "rpc_frame", FrameSeeds()) &&
              WriteSeeds(dir / "class_xml", ClassXmlSeeds());
    if (!ok) {
        std::fprintf(stderr, "fuzz_make_seeds: cannot write under %s\n", argv[1]);
        return 1;
    }
    return 0;
}
