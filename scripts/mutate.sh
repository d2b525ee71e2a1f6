#!/usr/bin/env bash
# Mutation testing of the library's logic (not run in CI: it rebuilds once per
# mutant). Each mutant below is one small edit (a flipped comparison, a
# swapped boolean, a removed call, an off-by-one) given as an exact text that
# occurs once in its file and its replacement. For each mutant the script
# applies the edit, rebuilds the test executables of the mutant's layer, runs
# them, and puts the file back; a failing suite kills the mutant. The tree is
# restored whatever happens (trap), so an interrupted run leaves no mutant.
#
#   scripts/mutate.sh                   every mutant
#   scripts/mutate.sh route settings    the mutants of those layers
#   scripts/mutate.sh 24 25             mutants by number
#   GRS_MUTATE_BUILD=dir                build folder (default: build, configured by scripts/test.sh)
# A suite stops at its first failing test: one is enough to kill a mutant.
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD=${GRS_MUTATE_BUILD:-$ROOT/build}
case "$BUILD" in /*) ;; *) BUILD="$ROOT/$BUILD" ;; esac
SUITE_TIMEOUT=${GRS_MUTATE_TIMEOUT:-900}

log() { printf '[mutate] %s\n' "$*" >&2; }
[ -x "$BUILD/wine-run.sh" ] || { log "no configured build in $BUILD: run scripts/test.sh once"; exit 2; }

# The test executables that judge each layer.
suites_of() {
  case "$1" in
    core) echo "core" ;;
    serverconfig) echo "serverconfig" ;;
    route) echo "route frame" ;;
    settings) echo "settings" ;;
    userprops) echo "userprops" ;;
  esac
}

# layer <TAB> file <TAB> exact text <TAB> replacement
MUTANTS=$(cat <<'LIST'
core	core/TextUtil.cpp	    if (*p == '-') {	    if (*p != '-') {
core	core/TextUtil.cpp	            if (value < kMinTenth || (value == kMinTenth && digit == 9)) {	            if (value < kMinTenth || (value == kMinTenth && digit >= 8)) {
core	core/TextUtil.cpp	        if (value > kMaxTenth || (value == kMaxTenth && digit >= 8)) {	        if (value > kMaxTenth || (value == kMaxTenth && digit >= 9)) {
core	core/TextUtil.cpp	        result = false;	        result = true;
core	core/TextUtil.cpp	    if (length >= capacity) {	    if (length > capacity) {
core	core/TextUtil.cpp	    if (*p == '+') ++p;	    if (*p == '+') p += 0;
core	core/PathUtil.cpp	    if (slash == std::wstring::npos || slash + 1 >= path.size()) return path;	    if (slash == std::wstring::npos || slash + 2 >= path.size()) return path;
core	core/PathUtil.cpp	    if (path.size() >= MAX_PATH && path.find(L"\\\\?\\") == std::wstring::npos) return L"\\\\?\\" + path;	    if (path.size() > MAX_PATH && path.find(L"\\\\?\\") == std::wstring::npos) return L"\\\\?\\" + path;
core	core/IniFile.cpp	        if (x >= 'A' && x <= 'Z') x += 'a' - 'A';	        if (x > 'A' && x <= 'Z') x += 'a' - 'A';
core	core/IniFile.cpp	        if (x != y) return x < y;	        if (x != y) return x > y;
core	core/IniFile.cpp	 text = FromUtf16Le(bytes.data() + 2, (bytes.size() - 2) / 2);	 text = FromUtf16Le(bytes.data() + 2, (bytes.size() - 3) / 2);
core	core/IniFile.cpp	    return !grs::IsAscii(bytes) && DecodeBytes(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), bytes.size(), text);	    return DecodeBytes(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), bytes.size(), text);
core	core/IniText.h	    while (end > begin && IsBlank(text[end - 1])) --end;	    while (end > begin + 1 && IsBlank(text[end - 1])) --end;
core	core/IniText.h	        if (last > 1 && text[last - 1] == Char(']')) {	        if (last > 2 && text[last - 1] == Char(']')) {
core	core/FileIo.cpp	        if (content.size() + read > maxBytes) return ReadFileResult::TooLarge;	        if (content.size() + read >= maxBytes) return ReadFileResult::TooLarge;
core	core/FileIo.cpp	        if (error != ERROR_SHARING_VIOLATION && error != ERROR_ACCESS_DENIED) return false;	        if (error != ERROR_SHARING_VIOLATION || error != ERROR_ACCESS_DENIED) return false;
serverconfig	serverconfig/ServerRegion.cpp	    if (asia.count(countryCode) != 0) return ServerRegion::Asia;	    if (asia.count(countryCode) == 0) return ServerRegion::Asia;
serverconfig	serverconfig/ServerRegion.cpp	    if (countryCode == L"RU") return ServerRegion::Russia;	    if (countryCode != L"RU") return ServerRegion::Russia;
serverconfig	serverconfig/ServerConfigHelper.cpp	    return grs::HostExecutablePath().substr(0, MAX_PATH - 1);	    return grs::HostExecutablePath().substr(0, MAX_PATH);
serverconfig	serverconfig/ServerConfigHelper.cpp	        if (entry != serversByCountry.end()) servers = std::move(entry->second);	        if (entry == serversByCountry.end()) servers = std::move(entry->second);
serverconfig	serverconfig/RegionJson.cpp	        if (m_depth == 1) m_inRegion = false;	        if (m_depth == 2) m_inRegion = false;
serverconfig	serverconfig/RegionJson.cpp	            m_scan.nonStringValue = false;	            m_scan.nonStringValue = true;
serverconfig	serverconfig/RegionJson.cpp	            m_scan.servers.clear();	            ;
route	route/RouteDetail.cpp	    if (periodSeconds > kMaxMs / 1000) {	    if (periodSeconds >= kMaxMs / 1000) {
route	route/RouteDetail.cpp	    } else if (periodSeconds < kMinMs / 1000) {	    } else if (periodSeconds <= kMinMs / 1000) {
route	route/RouteDetail.cpp	    if (obtainedMs > 0 && periodMs > kMaxMs - obtainedMs) return kMaxMs;	    if (obtainedMs > 0 && periodMs > kMaxMs - obtainedMs + 1) return kMaxMs;
route	route/RouteDetail.cpp	    if (currentTime.size() > 15 || cachedCountry.empty()) return CacheFreshness::TimeTooLongOrNoCountry;	    if (currentTime.size() > 16 || cachedCountry.empty()) return CacheFreshness::TimeTooLongOrNoCountry;
route	route/RouteDetail.cpp	    return expiry > nowMs ? CacheFreshness::Fresh : CacheFreshness::Expired;	    return expiry >= nowMs ? CacheFreshness::Fresh : CacheFreshness::Expired;
route	route/RouteDetail.cpp	    return cacheControl.substr(start, 5);	    return cacheControl.substr(start, 6);
route	route/RouteDetail.cpp	        if (group.first == packageName) continue;	        if (group.first != packageName) continue;
route	route/RouteResolution.cpp	        if (record == nullptr || record->isSuccess != 1) GetZRVInfoFromLocal(record, false);	        if (record == nullptr && record->isSuccess != 1) GetZRVInfoFromLocal(record, false);
route	route/RouteResolution.cpp	            if (now.size() > 15) {	            if (now.size() > 14) {
route	route/RouteResolution.cpp	            if (record->countryCode == userCountry) {	            if (record->countryCode != userCountry) {
route	route/RouteApply.cpp	        if (!record || record->isSuccess != 1 || record->services.empty()) return false;	        if (!record || record->isSuccess != 1) return false;
route	route/RouteJson.cpp	        if (!entries.empty()) groups.emplace_hint(groups.end(), NameAsWide(group), std::move(entries));	        groups.emplace_hint(groups.end(), NameAsWide(group), std::move(entries));
route	route/RouteJson.cpp	            if (++depth > limit) return true;	            if (++depth >= limit) return true;
settings	settings/SettingRules.cpp	    return !joinPlan.empty() && LeadingInteger(WideToUtf8(joinPlan)) != 0;	    return !joinPlan.empty() && LeadingInteger(WideToUtf8(joinPlan)) > 0;
settings	settings/SettingRules.cpp	    if (limit == -1) limit = 0;	    if (limit < 0) limit = 0;
settings	settings/SettingRules.cpp	    return text.empty() || text == L"0";	    return text == L"0";
settings	settings/SettingRules.h	    return fileValue != L"1";	    return fileValue == L"1";
settings	settings/SettingRules.h	        plan.writeFile = true;	        plan.writeFile = false;
settings	settings/SettingRules.cpp	    if (built.size() > kRunCommandBufferChars - 1) return false;	    if (built.size() > kRunCommandBufferChars) return false;
settings	settings/GeneralSettings.cpp	        ClientInitialize::RegisterStartingIsOpen(plan.registration == RunRegistration::Register);	        ClientInitialize::RegisterStartingIsOpen(plan.registration != RunRegistration::Unregister);
settings	settings/SyncSettings.cpp	    const bool separated = !cacheFolder.empty() && cacheFolder.back() == L'\\';	    const bool separated = !cacheFolder.empty() && cacheFolder.back() != L'\\';
userprops	userprops/UserPropertyRules.cpp	    return platformId == 2 && major >= 10 && build >= 16299;	    return platformId == 2 && major >= 10 && build > 16299;
userprops	userprops/UserPropertyRules.cpp	        if (!probe.rootExists(root) || drive.freeBytes <= kSyncDriveMinimumFree ||	        if (!probe.rootExists(root) || drive.freeBytes < kSyncDriveMinimumFree ||
userprops	userprops/UserPropertyRules.cpp	            root == systemRoot ? systemRoot + (profilePath.size() > 3 ? profilePath.substr(3) : std::wstring()) : root;	            root == systemRoot ? systemRoot + (profilePath.size() > 2 ? profilePath.substr(3) : std::wstring()) : root;
userprops	userprops/UserPropertyRules.cpp	    if (!result.empty() && !EndsWithSeparator(result)) result += L'\\';	    if (!result.empty() && EndsWithSeparator(result)) result += L'\\';
userprops	userprops/UserPropertyRules.cpp	    return path.find(syncPath) != std::wstring::npos || path + L'\\' == syncPath;	    return path.find(syncPath) != std::wstring::npos;
userprops	userprops/UserPropertyRules.cpp	        if (value.empty() && key != L"DownLoadFolder") continue;	        if (value.empty()) continue;
userprops	userprops/SyncFolder.cpp	            const bool isDownload = row.key == L"NewDownLoadFolder" || row.key == L"DownLoadFolder";	            const bool isDownload = row.key == L"DownLoadFolder";
userprops	userprops/SyncFolder.cpp	                Db::UpdateUserProperties(L"IsOpenDownloadWnd", L"1");	                ;
userprops	userprops/SyncFolder.cpp	            GlobalParamWrapper::GetInstance()->SetModPathRes(true);	            GlobalParamWrapper::GetInstance()->SetModPathRes(false);
userprops	userprops/DownloadFolder.cpp	            if (IsAbsent(L"NewDownLoadFolder") || Db::GetUserPropertieByKey(L"IsUseDownloadsPath") == L"1") {	            if (IsAbsent(L"NewDownLoadFolder")) {
userprops	userprops/DownloadFolder.cpp	            SetRow(properties, L"IsUseDownloadsPath", L"0");	            SetRow(properties, L"IsUseDownloadsPath", L"1");

LIST
)

# Which mutants run: all, those of the named layers, or those numbered.
selected() {
  local number=$1 layer=$2
  [ "${#FILTER[@]}" -eq 0 ] && return 0
  local f
  for f in "${FILTER[@]}"; do
    [ "$f" = "$number" ] || [ "$f" = "$layer" ] && return 0
  done
  return 1
}
FILTER=("$@")

WORK=$(mktemp -d)
MUTATED=""
restore() {
  if [ -n "$MUTATED" ]; then
    # Written back in place with a fresh time stamp, so the next build
    # compiles the original again.
    cat "$WORK/original" >"$ROOT/$MUTATED"
    MUTATED=""
  fi
}
trap 'restore; rm -rf "$WORK"' EXIT
trap 'exit 130' INT TERM HUP

# Exact-text edit: the text must occur exactly once, or the list is stale.
apply() {
  python3 - "$ROOT/$1" "$2" "$3" <<'PY'
import sys
path, before, after = sys.argv[1:4]
text = open(path, encoding="utf-8").read()
if text.count(before) != 1:
    sys.exit(f"{path}: the mutant's text occurs {text.count(before)} times")
open(path, "w", encoding="utf-8").write(text.replace(before, after))
PY
}

build_and_run() {
  local suites=$1 s targets=()
  for s in $suites; do targets+=("test_$s"); done
  cmake --build "$BUILD" --target "${targets[@]}" >"$WORK/build.log" 2>&1 || return 2
  for s in $suites; do
    (cd "$BUILD/tests" && timeout "$SUITE_TIMEOUT" "$BUILD/wine-run.sh" "$BUILD/bin/test_$s.exe" --gtest_brief=1 --gtest_fail_fast) >"$WORK/test.log" 2>&1 || return 1
  done
  return 0
}

# The chosen mutants, numbered by their place in the list, and their layers.
chosen=()
layers_in_run=()
number=0
while IFS=$'\t' read -r layer file before after; do
  [ -n "$layer" ] || continue
  number=$((number + 1))
  selected "$number" "$layer" || continue
  chosen+=("$number"$'\t'"$layer"$'\t'"$file"$'\t'"$before"$'\t'"$after")
  case " ${layers_in_run[*]:-} " in *" $layer "*) ;; *) layers_in_run+=("$layer") ;; esac
done <<<"$MUTANTS"
[ "${#chosen[@]}" -gt 0 ] || { log "no mutant matches: $*"; exit 2; }

# The suites must pass on the unchanged tree first.
for layer in "${layers_in_run[@]}"; do
  log "baseline: $layer"
  if ! build_and_run "$(suites_of "$layer")"; then
    log "the $layer suites fail without any mutant: fix them first"
    tail -n 20 "$WORK/build.log" "$WORK/test.log" >&2
    exit 2
  fi
done

killed=0 survived=0 broken=0
survivors=()
for mutant in "${chosen[@]}"; do
  IFS=$'\t' read -r number layer file before after <<<"$mutant"
  cp "$ROOT/$file" "$WORK/original"
  MUTATED=$file
  apply "$file" "$before" "$after"
  outcome=0
  build_and_run "$(suites_of "$layer")" </dev/null || outcome=$?
  restore
  line=$(printf '#%-3s %s: %s  ->  %s' "$number" "$file" "$(echo "$before" | sed 's/^ *//')" "$(echo "$after" | sed 's/^ *//')")
  case $outcome in
    1) killed=$((killed + 1)); echo "killed    $line" ;;
    0) survived=$((survived + 1)); survivors+=("$line"); echo "SURVIVED  $line" ;;
    *) broken=$((broken + 1)); echo "no build  $line" ;;
  esac
done

built=$((killed + survived))
echo
echo "killed $killed of $built built mutants ($survived survived, $broken did not build)${built:+: $(( built ? 100 * killed / built : 0 ))%}"
for s in "${survivors[@]:-}"; do [ -n "$s" ] && echo "  survived: $s"; done
# Leave the tree's build matching the restored sources.
cmake --build "$BUILD" --target $(for l in "${layers_in_run[@]}"; do for s in $(suites_of "$l"); do printf 'test_%s ' "$s"; done; done) >/dev/null 2>&1 || true
