#include "supporttool/Bundle.h"

#include <windows.h>

#include "core/PathUtil.h"
#include "core/TextUtil.h"
#include "supporttool/JsonText.h"

namespace supporttool {

namespace {

constexpr int kFormat = 1;

// One collected file: its facts in the manifest, its bytes under `entry`.
Json::Value FileJson(const std::string& entry, const std::wstring& path, const inspect::FileSnapshot& file) {
    Json::Value item(Json::objectValue);
    item["entry"] = entry;
    item["path"] = Text(path);
    item["exists"] = file.exists;
    item["isFolder"] = file.isFolder;
    item["readable"] = file.readable;
    item["tooLarge"] = file.tooLarge;
    item["attributes"] = static_cast<Json::UInt>(file.attributes);
    item["size"] = static_cast<Json::UInt64>(file.size);
    return item;
}

inspect::FileSnapshot FileFrom(const Json::Value& item, const std::map<std::string, std::string>& entries) {
    inspect::FileSnapshot file;
    file.exists = item["exists"].asBool();
    file.isFolder = item["isFolder"].asBool();
    file.readable = item["readable"].asBool();
    file.tooLarge = item["tooLarge"].asBool();
    file.attributes = item["attributes"].asUInt();
    file.size = item["size"].asUInt64();
    const auto found = entries.find(item["entry"].asString());
    if (file.readable && found != entries.end()) {
        file.bytes = found->second;
        file.size = file.bytes.size();
    } else {
        file.readable = false;
    }
    return file;
}

}  // namespace

std::map<std::string, std::string> MakeBundle(const Collected& collected, const Redaction& redaction) {
    const inspect::Snapshot& snapshot = collected.snapshot;
    const unsigned codePage = snapshot.ansiCodePage;
    std::map<std::string, std::string> entries;
    Json::Value manifest(Json::objectValue);
    manifest["format"] = kFormat;
    manifest["collectedAt"] = collected.collectedAt;
    manifest["redacted"] = !redaction.Empty();
    manifest["environment"] = collected.environment;

    Json::Value& appData = manifest["appData"];
    appData["path"] = Text(snapshot.appData);
    appData["isFolder"] = snapshot.appDataIsFolder;
    appData["spellable"] = snapshot.appDataSpellable;
    appData["ansiCodePage"] = codePage;
    Json::Value& names = appData["names"] = Json::Value(Json::arrayValue);
    for (const std::wstring& name : snapshot.appDataNames) names.append(Text(name));

    Json::Value& run = manifest["run"];
    run["key"] = Text(snapshot.runKey);
    run["present"] = snapshot.run.present;
    run["type"] = static_cast<Json::UInt>(snapshot.run.type);
    run["bytes"] = Hex(RedactBytes(redaction, snapshot.run.raw, codePage));
    Json::Value& existing = run["existing"] = Json::Value(Json::arrayValue);
    for (const std::wstring& path : collected.existing) existing.append(Text(path));

    manifest["exeDir"]["path"] = Text(snapshot.exeDir);
    manifest["exeDir"]["given"] = snapshot.exeDirGiven;
    manifest["exeDir"]["isFolder"] = snapshot.exeDirIsFolder;
    manifest["routeCache"]["path"] = Text(snapshot.routeCachePath);
    manifest["routeCache"]["given"] = snapshot.routeCacheGiven;

    Json::Value& files = manifest["files"] = Json::Value(Json::arrayValue);
    const auto add = [&](const std::string& entry, const std::wstring& path, const inspect::FileSnapshot& file) {
        Json::Value item = FileJson(entry, path, file);
        const Json::Value& facts = collected.fileFacts[entry];
        for (const char* time : {"created", "written", "accessed"})
            if (facts.isMember(time)) item[time] = facts[time];
        files.append(item);
        if (file.readable) entries[entry] = RedactBytes(redaction, file.bytes, codePage);
    };
    add("files/appdata/Setting.ini", grs::PathJoin(snapshot.appData, L"Setting.ini"), snapshot.setting);
    add("files/appdata/SyncSetting.ini", grs::PathJoin(snapshot.appData, L"SyncSetting.ini"), snapshot.syncSetting);
    for (const auto& server : snapshot.serverFiles)
        add("files/exedir/" + Text(server.first), grs::PathJoin(snapshot.exeDir, server.first), server.second);
    if (snapshot.routeCacheGiven) add("files/route-cache.json", snapshot.routeCachePath, snapshot.routeCache);

    entries[kManifestEntry] = RedactBytes(redaction, JsonText(manifest), codePage);
    return entries;
}

bool ReadBundle(const std::map<std::string, std::string>& entries, Collected& collected, std::string& error) {
    const auto found = entries.find(kManifestEntry);
    if (found == entries.end()) {
        error = "no manifest.json: not a bundle of grs-support collect";
        return false;
    }
    Json::Value manifest;
    if (!ParseJsonObject(found->second, manifest) || manifest["format"].asInt() != kFormat) {
        error = "manifest.json cannot be read";
        return false;
    }
    inspect::Snapshot& snapshot = collected.snapshot;
    collected.collectedAt = manifest["collectedAt"].asString();
    collected.redacted = manifest["redacted"].asBool();
    collected.environment = manifest["environment"];
    const Json::Value& appData = manifest["appData"];
    snapshot.appData = Wide(appData["path"]);
    snapshot.appDataIsFolder = appData["isFolder"].asBool();
    snapshot.appDataSpellable = appData["spellable"].asBool();
    snapshot.ansiCodePage = appData["ansiCodePage"].asUInt();
    for (const Json::Value& name : appData["names"]) snapshot.appDataNames.push_back(Wide(name));

    const Json::Value& run = manifest["run"];
    snapshot.runKey = Wide(run["key"]);
    snapshot.run.present = run["present"].asBool();
    snapshot.run.type = run["type"].asUInt();
    snapshot.run.raw = Unhex(run["bytes"].asString());
    if (snapshot.run.present &&
        (snapshot.run.type == REG_SZ || snapshot.run.type == REG_EXPAND_SZ || snapshot.run.type == REG_MULTI_SZ)) {
        const std::string& raw = snapshot.run.raw;
        for (size_t i = 0; i + 1 < raw.size(); i += 2) {
            const wchar_t c =
                static_cast<wchar_t>(static_cast<unsigned char>(raw[i]) |
                                     (static_cast<unsigned>(static_cast<unsigned char>(raw[i + 1])) << 8));
            if (c == L'\0') break;
            snapshot.run.data += c;
        }
    }
    for (const Json::Value& path : run["existing"]) collected.existing.insert(Wide(path));

    snapshot.exeDir = Wide(manifest["exeDir"]["path"]);
    snapshot.exeDirGiven = manifest["exeDir"]["given"].asBool();
    snapshot.exeDirIsFolder = manifest["exeDir"]["isFolder"].asBool();
    snapshot.routeCachePath = Wide(manifest["routeCache"]["path"]);
    snapshot.routeCacheGiven = manifest["routeCache"]["given"].asBool();

    for (const Json::Value& item : manifest["files"]) {
        const std::string entry = item["entry"].asString();
        const inspect::FileSnapshot file = FileFrom(item, entries);
        collected.fileFacts[entry] = item;
        if (entry == "files/appdata/Setting.ini") {
            snapshot.setting = file;
        } else if (entry == "files/appdata/SyncSetting.ini") {
            snapshot.syncSetting = file;
        } else if (entry == "files/route-cache.json") {
            snapshot.routeCache = file;
        } else if (entry.rfind("files/exedir/", 0) == 0) {
            snapshot.serverFiles[grs::Utf8ToWide(entry.substr(13))] = file;
        }
    }
    return true;
}

inspect::EnvironmentFacts EnvironmentLines(const Json::Value& environment) {
    inspect::EnvironmentFacts lines;
    if (!environment.isObject()) return lines;
    for (const std::string& name : environment.getMemberNames()) {
        const Json::Value& value = environment[name];
        if (value.isObject() || value.isArray()) {
            lines.emplace_back(name, inspect::JsonText(value, ""));
        } else {
            lines.emplace_back(name, value.asString());
        }
    }
    return lines;
}

}  // namespace supporttool
