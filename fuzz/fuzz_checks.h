// What the fuzz targets and the regression test ask of each reader, in one place so that an
// input kept from a fuzzing run is judged by the same rules in the normal build.
//
// Each check feeds one input to a reader and returns whether it was accepted, the reader's
// own message when it was not, and a `problem` when the reader broke one of its promises:
// a refusal without a reason or outside the input, or an accepted input whose rewriting is
// refused or does not settle. Crashes, hangs and undefined behaviour are the sanitizers' part.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "automation/rpc_frame.h"
#include "hosts/rose/petal/petal.h"
#include "hosts/tavro/xml/class_xml.h"

namespace fuzzcheck {

struct Outcome {
    bool accepted = false;
    std::string message;  // the reader's reason when it refused the input
    std::string problem;  // "" unless the reader broke a promise
};

// A Petal file: a refusal names a line and column inside the input; an accepted file written
// back must read again as the same tree and give the same bytes when written once more.
inline Outcome CheckPetal(std::string_view bytes) {
    Outcome outcome;
    petal::File file;
    petal::ParseResult parsed = petal::ParseDocument(bytes, file);
    outcome.accepted = parsed.ok;
    outcome.message = parsed.message;
    if (!parsed.ok) {
        auto lines = static_cast<int>(std::count(bytes.begin(), bytes.end(), '\n')) + 1;
        if (parsed.message.empty()) outcome.problem = "refused without a message";
        if (parsed.line < 1 || parsed.line > lines || parsed.column < 1)
            outcome.problem = "refused at line " + std::to_string(parsed.line) + " column " +
                              std::to_string(parsed.column) + ", outside the input";
        return outcome;
    }
    std::string written = petal::WriteDocument(file);
    petal::File again;
    petal::ParseResult reread = petal::ParseDocument(written, again);
    if (!reread.ok) {
        outcome.problem = "written file does not read again: line " + std::to_string(reread.line) +
                          ": " + reread.message;
        return outcome;
    }
    std::string difference = petal::ReadBackDifference(written, file.header, file.root);
    if (!difference.empty()) {
        outcome.problem = "written file reads back as another tree: " + difference;
        return outcome;
    }
    if (petal::WriteDocument(again) != written)
        outcome.problem = "written file changes when read and written again";
    return outcome;
}

// Frames one after another, as a connection reads them: each decoded frame must encode back
// to the very bytes it came from, and every other result must stay inside the buffer.
inline Outcome CheckRpcFrame(std::string_view bytes) {
    namespace rpc = automation::rpc;
    Outcome outcome;
    std::string_view rest = bytes;
    for (int frames = 0;; ++frames) {
        if (frames > 0 && rest.empty()) {
            outcome.accepted = true;
            return outcome;
        }
        rpc::Message message;
        rpc::FrameResult result = rpc::DecodeFrame(rest, message);
        // A small limit must refuse only by size, and otherwise agree with the default one.
        rpc::Message small;
        rpc::FrameResult limited = rpc::DecodeFrame(rest, small, 64);
        if (limited.status != rpc::FrameStatus::TooLarge &&
            (limited.status != result.status || !(small == message)))
            outcome.problem = "a smaller size limit changes the result beyond refusing by size";
        std::string_view description = result.Description();
        if (description.empty()) outcome.problem = "result without a description";
        if (result.offset > rest.size()) outcome.problem = "result offset past the buffer";
        if (!outcome.problem.empty()) return outcome;
        if (result.status == rpc::FrameStatus::Incomplete) {
            if (result.size != 0 && result.size <= rest.size())
                outcome.problem = "incomplete although the buffer holds the frame";
            outcome.message = description;
            return outcome;
        }
        if (!result) {
            outcome.message = description;
            return outcome;
        }
        if (result.size > rest.size() || result.size < rpc::kLengthSize + rpc::kMinBodySize) {
            outcome.problem = "decoded frame size outside the buffer";
            return outcome;
        }
        std::string encoded;
        rpc::EncodeFrame(message, encoded);
        if (encoded != rest.substr(0, result.size)) {
            outcome.problem = "decoded frame does not encode back to its bytes";
            return outcome;
        }
        rest.remove_prefix(result.size);
    }
}

// A class definition: a refusal points inside the text; an accepted definition rendered
// again must read back and render to the same text.
inline Outcome CheckClassXml(std::string_view text) {
    Outcome outcome;
    tavro::XmlParseResult parsed = tavro::ParseClassXml(text);
    outcome.accepted = parsed.ok;
    outcome.message = parsed.message;
    if (!parsed.ok) {
        if (parsed.message.empty()) outcome.problem = "refused without a message";
        if (parsed.offset > text.size()) outcome.problem = "refused at an offset past the text";
        return outcome;
    }
    std::string rendered = tavro::RenderClassXml(parsed.def);
    tavro::XmlParseResult again = tavro::ParseClassXml(rendered);
    if (!again.ok) {
        outcome.problem = "rendered definition does not read again: " + again.message;
        return outcome;
    }
    if (tavro::RenderClassXml(again.def) != rendered)
        outcome.problem = "rendered definition changes when read and rendered again";
    return outcome;
}

}  // namespace fuzzcheck
