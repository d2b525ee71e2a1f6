// Localised texts by user-interface language; unknown ids give the id itself.
#include "globalrootservice/collaborators/ResourceManager.h"

#include <map>
#include <mutex>
#include <string>

#include "standin/StandInState.h"

using namespace ClientStandIn;
using namespace ClientStandIn::detail;

namespace {
// The returned pointers must stay valid: texts handed out are interned here.
std::mutex g_internMutex;
std::map<std::wstring, std::wstring>& Interned() {
    static auto* texts = new std::map<std::wstring, std::wstring>();
    return *texts;
}
const wchar_t* Intern(const std::wstring& text) {
    std::lock_guard<std::mutex> lock(g_internMutex);
    return Interned().emplace(text, text).first->second.c_str();
}
}  // namespace

namespace DuiLib {

CResourceManager* CResourceManager::GetInstance() {
    static CResourceManager instance;
    return &instance;
}

const wchar_t* CResourceManager::GetLanguage() {
    return Intern(TextOf(Text::UiLanguage));
}

const wchar_t* CResourceManager::GetText(const wchar_t* id, const wchar_t* /*type*/) {
    if (id == nullptr) return Intern(std::wstring());
    const std::wstring language = TextOf(Text::UiLanguage);
    State& s = GetState();
    std::wstring text;
    {
        std::lock_guard<std::mutex> lock(s.mutex);
        auto it = s.resourceTexts.find({language, id});
        if (it == s.resourceTexts.end()) it = s.resourceTexts.find({L"en", id});
        text = it == s.resourceTexts.end() ? std::wstring(id) : it->second;
    }
    return Intern(text);
}

}  // namespace DuiLib
