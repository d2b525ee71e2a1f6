#!/usr/bin/env bash
# Mutation testing of the library's logic (not run in CI: it rebuilds once per
# mutant). Each mutant below is one small edit (a flipped comparison, a
# swapped boolean, a removed call, an off-by-one), anchored on its file, the
# function it lies in and a piece of code in that function, compared token by
# token so that reformatting (indentation, line breaks, spacing) does not
# break it; the piece must occur exactly once in the function. For each mutant
# the script applies the edit, rebuilds the test executables of the mutant's
# layer, runs them, and puts the file back; a failing suite kills the mutant.
# The tree is restored whatever happens (trap), so an interrupted run leaves no
# mutant.
#
#   scripts/mutate.sh                   every mutant
#   scripts/mutate.sh route settings    the mutants of those layers
#   scripts/mutate.sh 24 25             mutants by number
#   scripts/mutate.sh --check           builds nothing: says whether each mutant
#                                       still applies exactly once (non-zero if not)
#   GRS_MUTATE_BUILD=dir                build folder (default: build, configured by scripts/test.sh)
# A suite stops at its first failing test: one is enough to kill a mutant.
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD=${GRS_MUTATE_BUILD:-$ROOT/build}
case "$BUILD" in /*) ;; *) BUILD="$ROOT/$BUILD" ;; esac
SUITE_TIMEOUT=${GRS_MUTATE_TIMEOUT:-900}

log() { printf '[mutate] %s\n' "$*" >&2; }

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

# layer <TAB> file <TAB> function <TAB> code <TAB> mutated code
MUTANTS=$(cat <<'LIST'
core	core/TextUtil.cpp	ParseDecimalInt64	if (*p == '-') {	if (*p != '-') {
core	core/TextUtil.cpp	ParseDecimalInt64	if (value < kMinTenth || (value == kMinTenth && digit == 9)) {	if (value < kMinTenth || (value == kMinTenth && digit >= 8)) {
core	core/TextUtil.cpp	ParseDecimalInt64	if (value > kMaxTenth || (value == kMaxTenth && digit >= 8)) {	if (value > kMaxTenth || (value == kMaxTenth && digit >= 9)) {
core	core/TextUtil.cpp	ParseDecimalInt64	result = false;	result = true;
core	core/TextUtil.cpp	CopyToField	if (length >= capacity) {	if (length > capacity) {
core	core/TextUtil.cpp	ParseDecimalInt64	if (*p == '+') ++p;	if (*p == '+') p += 0;
core	core/PathUtil.cpp	DirectoryWithSeparator	if (slash == std::wstring::npos || slash + 1 >= path.size()) return path;	if (slash == std::wstring::npos || slash + 2 >= path.size()) return path;
core	core/PathUtil.cpp	WithExtendedPrefix	if (path.size() >= MAX_PATH && path.find(L"\\\\?\\") == std::wstring::npos) return L"\\\\?\\" + path;	if (path.size() > MAX_PATH && path.find(L"\\\\?\\") == std::wstring::npos) return L"\\\\?\\" + path;
core	core/IniFile.cpp	operator()	if (x >= 'A' && x <= 'Z') x += 'a' - 'A';	if (x > 'A' && x <= 'Z') x += 'a' - 'A';
core	core/IniFile.cpp	operator()	if (x != y) return x < y;	if (x != y) return x > y;
core	core/IniFile.cpp	DecodeIniBytes	text = FromUtf16Le(bytes.data() + 2, (bytes.size() - 2) / 2);	text = FromUtf16Le(bytes.data() + 2, (bytes.size() - 3) / 2);
core	core/IniFile.cpp	DecodesAsUtf8	return !grs::IsAscii(bytes) && DecodeBytes(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), bytes.size(), text);	return DecodeBytes(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), bytes.size(), text);
core	core/IniText.h	TrimBlanks	while (end > begin && IsBlank(text[end - 1])) --end;	while (end > begin + 1 && IsBlank(text[end - 1])) --end;
core	core/IniText.h	ClassifyLine	if (last > 1 && text[last - 1] == Char(']')) {	if (last > 2 && text[last - 1] == Char(']')) {
core	core/FileIo.cpp	ReadToEnd	if (content.size() + read > maxBytes) return ReadFileResult::TooLarge;	if (content.size() + read >= maxBytes) return ReadFileResult::TooLarge;
core	core/FileIo.cpp	Create	error != ERROR_SHARING_VIOLATION && error != ERROR_ACCESS_DENIED	(error != ERROR_SHARING_VIOLATION || error != ERROR_ACCESS_DENIED)
core	core/FileIo.cpp	Create	if (Swept().First(target) || busy)	if (busy)
serverconfig	serverconfig/ServerRegion.cpp	ChooseServerRegion	if (asia.count(countryCode) != 0) return ServerRegion::Asia;	if (asia.count(countryCode) == 0) return ServerRegion::Asia;
serverconfig	serverconfig/ServerRegion.cpp	ChooseServerRegion	if (countryCode == L"RU") return ServerRegion::Russia;	if (countryCode != L"RU") return ServerRegion::Russia;
serverconfig	serverconfig/ServerConfigHelper.cpp	MainModulePath	return grs::HostExecutablePath().substr(0, MAX_PATH - 1);	return grs::HostExecutablePath().substr(0, MAX_PATH);
serverconfig	serverconfig/ServerConfigHelper.cpp	ApplyText	if (entry != serversByCountry.end()) servers = std::move(entry->second);	if (entry == serversByCountry.end()) servers = std::move(entry->second);
serverconfig	serverconfig/RegionJson.cpp	Close	if (m_depth == 1) m_inRegion = false;	if (m_depth == 2) m_inRegion = false;
serverconfig	serverconfig/RegionJson.cpp	OnValue	m_scan.nonStringValue = false;	m_scan.nonStringValue = true;
serverconfig	serverconfig/RegionJson.cpp	OnValue	m_scan.servers.clear();	;
route	route/RouteDetail.cpp	ExpiryOf	if (periodSeconds > kMaxMs / 1000) {	if (periodSeconds >= kMaxMs / 1000) {
route	route/RouteDetail.cpp	ExpiryOf	} else if (periodSeconds < kMinMs / 1000) {	} else if (periodSeconds <= kMinMs / 1000) {
route	route/RouteDetail.cpp	ExpiryOf	if (obtainedMs > 0 && periodMs > kMaxMs - obtainedMs) return kMaxMs;	if (obtainedMs > 0 && periodMs > kMaxMs - obtainedMs + 1) return kMaxMs;
route	route/RouteDetail.cpp	JudgeRouteCache	if (currentTime.size() > kMaxRouteTimeDigits || cachedCountry.empty())	if (currentTime.size() > kMaxRouteTimeDigits + 1 || cachedCountry.empty())
route	route/RouteDetail.cpp	JudgeRouteCache	return expiry > nowMs ? CacheFreshness::Fresh : CacheFreshness::Expired;	return expiry >= nowMs ? CacheFreshness::Fresh : CacheFreshness::Expired;
route	route/RouteDetail.cpp	CachePeriodText	return cacheControl.substr(start, 5);	return cacheControl.substr(start, 6);
route	route/RouteDetail.cpp	FlattenRoutes	if (group.first == packageName) continue;	if (group.first != packageName) continue;
route	route/RouteResolution.cpp	GetZRVInfo	if (record == nullptr || record->isSuccess != 1) GetZRVInfoFromLocal(record, false);	if (record == nullptr && record->isSuccess != 1) GetZRVInfoFromLocal(record, false);
route	route/RouteResolution.cpp	GetZRVInfoFromRemote	if (now.size() > 15) {	if (now.size() > 14) {
route	route/RouteResolution.cpp	GetZRVInfoFromLocal	if (record->countryCode == userCountry) {	if (record->countryCode != userCountry) {
route	route/RouteApply.cpp	ZRVInfoInitialise	if (!record || record->isSuccess != 1 || record->services.empty()) return false;	if (!record || record->isSuccess != 1) return false;
route	route/RouteJson.cpp	FillRecord	if (!entries.empty()) groups.emplace_hint(groups.end(), NameAsWide(group), std::move(entries));	groups.emplace_hint(groups.end(), NameAsWide(group), std::move(entries));
settings	settings/SettingRules.cpp	JoinsExperiencePlan	return !joinPlan.empty() && LeadingInteger(WideToUtf8(joinPlan)) != 0;	return !joinPlan.empty() && LeadingInteger(WideToUtf8(joinPlan)) > 0;
settings	settings/SettingRules.cpp	ErrorLimitingTimeFrom	if (limit == -1) limit = 0;	if (limit < 0) limit = 0;
settings	settings/SettingRules.cpp	ReadsShortcutPending	return text.empty() || text == L"0";	return text == L"0";
settings	settings/SettingRules.h	NeedsRegistration	return fileValue != L"1";	return fileValue == L"1";
settings	settings/SettingRules.h	PlanAutoStart	plan.writeFile = true;	plan.writeFile = false;
settings	settings/SettingRules.cpp	BuildRunCommand	if (built.size() > kRunCommandBufferChars - 1) return false;	if (built.size() > kRunCommandBufferChars) return false;
settings	settings/GeneralSettings.cpp	ReconcileAutoStart	ClientInitialize::RegisterStartingIsOpen(plan.registration == RunRegistration::Register);	ClientInitialize::RegisterStartingIsOpen(plan.registration != RunRegistration::Unregister);
settings	settings/SyncSettings.cpp	UserCacheRoot	const bool separated = !cacheFolder.empty() && cacheFolder.back() == L'\\';	const bool separated = !cacheFolder.empty() && cacheFolder.back() != L'\\';
userprops	userprops/UserPropertyRules.cpp	IsWin10Build16299OrLater	return platformId == 2 && major >= 10 && build >= 16299;	return platformId == 2 && major >= 10 && build > 16299;
userprops	userprops/UserPropertyRules.cpp	ChooseSyncCloudFolder	if (!probe.rootExists(root) || drive.freeBytes <= kSyncDriveMinimumFree ||	if (!probe.rootExists(root) || drive.freeBytes < kSyncDriveMinimumFree ||
userprops	userprops/UserPropertyRules.cpp	ChooseSyncCloudFolder	root == systemRoot ? systemRoot + (profilePath.size() > 3 ? profilePath.substr(3) : std::wstring()) : root;	root == systemRoot ? systemRoot + (profilePath.size() > 2 ? profilePath.substr(3) : std::wstring()) : root;
userprops	userprops/UserPropertyRules.cpp	ChooseSyncCloudFolder	if (!result.empty() && !EndsWithSeparator(result)) result += L'\\';	if (!result.empty() && EndsWithSeparator(result)) result += L'\\';
userprops	userprops/UserPropertyRules.cpp	LiesInSyncFolder	return path.find(syncPath) != std::wstring::npos || path + L'\\' == syncPath;	return path.find(syncPath) != std::wstring::npos;
userprops	userprops/UserPropertyRules.cpp	ApplyPropertyRows	if (value.empty() && key != L"DownLoadFolder") continue;	if (value.empty()) continue;
userprops	userprops/SyncFolder.cpp	CheckPathInSyncFolder	const bool isDownload = row.key == L"NewDownLoadFolder" || row.key == L"DownLoadFolder";	const bool isDownload = row.key == L"DownLoadFolder";
userprops	userprops/SyncFolder.cpp	CheckPathInSyncFolder	Db::UpdateUserProperties(L"IsOpenDownloadWnd", L"1");	;
userprops	userprops/SyncFolder.cpp	CheckPathInSyncFolder	GlobalParamWrapper::GetInstance()->SetModPathRes(true);	GlobalParamWrapper::GetInstance()->SetModPathRes(false);
userprops	userprops/DownloadFolder.cpp	UpdateNewDownloadPathValue	if (IsAbsent(L"NewDownLoadFolder") || Db::GetUserPropertieByKey(L"IsUseDownloadsPath") == L"1") {	if (IsAbsent(L"NewDownLoadFolder")) {
userprops	userprops/DownloadFolder.cpp	UpdateNewDownloadPathValue	SetRow(properties, L"IsUseDownloadsPath", L"0");	SetRow(properties, L"IsUseDownloadsPath", L"1");

LIST
)

# Finds a mutant's code in its function. `apply FILE FUNCTION CODE MUTATED`
# edits the file; `check` reads the list and reports each mutant's matches.
read -r -d '' ANCHOR_PY <<'PY' || true
import re, sys

KEYWORDS = {"if", "for", "while", "switch", "catch", "return", "sizeof", "decltype", "alignof", "static_assert",
            "noexcept", "defined", "__attribute__"}

def blank_literals(text):
    """The text with comments, string and character literals blanked (same length), so braces in them do not count."""
    out = list(text)
    i, n = 0, len(text)
    while i < n:
        c = text[i]
        if text.startswith("//", i):
            j = text.find("\n", i)
            j = n if j < 0 else j
        elif text.startswith("/*", i):
            j = text.find("*/", i + 2)
            j = n if j < 0 else j + 2
        elif c in "\"'":
            if c == "'" and 0 < i < n - 1 and text[i - 1].isdigit() and text[i + 1].isdigit():  # 1'000
                i += 1
                continue
            j = i + 1
            while j < n and text[j] != c:
                j += 2 if text[j] == "\\" else 1
            j = min(j + 1, n)
            for k in range(i + 1, j - 1):
                if out[k] != "\n":
                    out[k] = " "
            i = j
            continue
        else:
            i += 1
            continue
        for k in range(i, j):
            if out[k] != "\n":
                out[k] = " "
        i = j
    return "".join(out)

DEF_TAIL = re.compile(r"\s*(?:const\s*)?(?:noexcept\s*)?(?:override\s*)?(?:->\s*[\w:<>,\s*&]+?)?\s*\{")

def closing(plain, start, opening, close):
    """The position of the bracket that closes the one at `start`."""
    depth = 0
    for i in range(start, len(plain)):
        depth += (plain[i] == opening) - (plain[i] == close)
        if depth == 0:
            return i
    return len(plain)

def functions(text):
    """(name, body start, body end) of every named function definition."""
    plain = blank_literals(text)
    found = []
    for m in re.finditer(r"\b(operator\s*(?:\(\s*\)|[^\w\s(]+)|\w+)\s*\(", plain):
        name = re.sub(r"\s+", "", m.group(1))
        if name in KEYWORDS:
            continue
        tail = DEF_TAIL.match(plain, closing(plain, m.end() - 1, "(", ")") + 1)
        if tail:
            start = tail.end() - 1
            found.append((name, start, closing(plain, start, "{", "}") + 1))
    return found

TOKEN = re.compile(r"\w+|\"(?:\\.|[^\"\\])*\"|'(?:\\.|[^'\\])*'|\S")

def pattern(code):
    tokens = TOKEN.findall(code)
    parts = []
    for k, t in enumerate(tokens):
        if k:
            word = re.match(r"\w", tokens[k - 1][-1]) and re.match(r"\w", t[0])
            parts.append(r"\s+" if word else r"\s*")
        parts.append(re.escape(t))
    return re.compile("".join(parts))

def matches(text, function, code):
    """Spans of `code` (whitespace aside) inside the bodies of `function`."""
    spans = []
    for name, start, end in functions(text):
        if name == function:
            spans += [(m.start(), m.end()) for m in pattern(code).finditer(text, start, end)]
    return sorted(set(spans))

def enclosing(text, position):
    inner = [f for f in functions(text) if f[1] <= position < f[2]]
    return min(inner, key=lambda f: f[2] - f[1])[0] if inner else None

def main():
    if sys.argv[1] == "apply":
        path, function, code, mutated = sys.argv[2:6]
        text = open(path, encoding="utf-8").read()
        spans = matches(text, function, code)
        if len(spans) != 1:
            sys.exit(f"{path}: {function}: the mutant's code occurs {len(spans)} times")
        start, end = spans[0]
        open(path, "w", encoding="utf-8").write(text[:start] + mutated + text[end:])
        return
    root, stale = sys.argv[2], 0
    for number, line in enumerate((l for l in sys.stdin.read().split("\n") if l.strip()), 1):
        layer, path, function, code, mutated = line.split("\t")
        count = len(matches(open(f"{root}/{path}", encoding="utf-8").read(), function, code))
        stale += count != 1
        print(f"{'ok' if count == 1 else 'STALE':5} #{number:<3} {path} {function}: {code}  ({count} matches)")
    print(f"{stale} of {number} mutants do not apply exactly once")
    sys.exit(1 if stale else 0)

main()
PY

if [ "${1:-}" = "--check" ]; then
  exec python3 -c "$ANCHOR_PY" check "$ROOT" <<<"$MUTANTS"
fi
[ -x "$BUILD/wine-run.sh" ] || { log "no configured build in $BUILD: run scripts/test.sh once"; exit 2; }

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

# The mutant's code must occur exactly once in its function, or the list is stale.
apply() {
  python3 -c "$ANCHOR_PY" apply "$ROOT/$1" "$2" "$3" "$4"
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
while IFS=$'\t' read -r layer file function before after; do
  [ -n "$layer" ] || continue
  number=$((number + 1))
  selected "$number" "$layer" || continue
  chosen+=("$number"$'\t'"$layer"$'\t'"$file"$'\t'"$function"$'\t'"$before"$'\t'"$after")
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
  IFS=$'\t' read -r number layer file function before after <<<"$mutant"
  cp "$ROOT/$file" "$WORK/original"
  MUTATED=$file
  apply "$file" "$function" "$before" "$after"
  outcome=0
  build_and_run "$(suites_of "$layer")" </dev/null || outcome=$?
  restore
  line=$(printf '#%-3s %s %s: %s  ->  %s' "$number" "$file" "$function" "$before" "$after")
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
