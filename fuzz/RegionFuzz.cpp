// Any bytes as a server address file: the streaming region reader agrees
// with a full document parse of the same text by the same JSON library and
// the system conversion of every name and value.
#include <cstddef>
#include <cstdint>

#include "core/TextUtil.h"
#include "fuzz/FuzzSupport.h"
#include "serverconfig/JsonConfig.h"
#include "serverconfig/RegionJson.h"

#include "rapidjson/document.h"

namespace {

grs::RegionScan FromDocument(const rapidjson::Document& document, const std::string& region) {
    grs::RegionScan scan;
    if (!document.IsObject()) return scan;
    for (const auto& member : document.GetObject()) {
        if (std::string(member.name.GetString(), member.name.GetStringLength()) != region) continue;
        scan = grs::RegionScan();  // the last member of that name counts
        scan.found = member.value.IsObject();
        if (!scan.found) continue;
        for (const auto& entry : member.value.GetObject()) {
            if (!entry.value.IsString()) {
                scan.nonStringValue = true;
                continue;
            }
            scan.servers[grs::Utf8ToWide(std::string(entry.name.GetString(), entry.name.GetStringLength()))] =
                grs::Utf8ToWide(std::string(entry.value.GetString(), entry.value.GetStringLength()));
        }
    }
    return scan;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    static const char* const kRegions[] = {"cn", "dr2", "dr3", "dr4"};
    const std::string region = kRegions[data[0] % 4];
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);

    const grs::RegionScan scan = grs::ScanRegion(text, region);
    if (scan.syntaxError) fuzz::Check(!scan.found && scan.servers.empty(), "a syntax error yields nothing");

    // The same flags: the text as a C string, no encoding check.
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(text.c_str());
    fuzz::Check(scan.syntaxError == document.HasParseError(), "syntax verdict agrees with a full parse");
    if (scan.syntaxError) {
        fuzz::Check(scan.errorOffset == document.GetErrorOffset() && scan.errorCode == document.GetParseError(),
                    "error place agrees");
        const grs::ParseErrorPlace place = grs::DescribeParseError(text, scan.errorOffset, scan.errorCode);
        fuzz::Check(place.line >= 1 && place.column >= 1 && !place.message.empty(), "error is described");
        return 0;
    }
    const grs::RegionScan expected = FromDocument(document, region);
    fuzz::Check(scan.found == expected.found, "region found agrees");
    fuzz::Check(scan.nonStringValue == expected.nonStringValue, "non-string verdict agrees");
    fuzz::Check(scan.servers == expected.servers, "addresses agree");
    return 0;
}
