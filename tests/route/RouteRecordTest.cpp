// The route record's JSON form and the pure decisions of the route service.
#include <gtest/gtest.h>

#include <memory>

#include "core/TextUtil.h"
#include "route/RouteDetail.h"
#include "route/Zorvane.h"
#include "tests/common/TestSupport.h"

class ZorvaneTestAccess {
public:
    static std::string Serialize(st_ZRVInfo* record) { return Zorvane::GetInstance()->SerializeZRV(record); }
    static bool HasKey(const std::map<std::wstring, std::wstring>& map, const std::wstring& key) {
        return Zorvane::GetInstance()->IsExistKey(map, key);
    }
    static bool HasKey(const std::map<std::string, std::string>& map, const std::string& key) {
        return Zorvane::GetInstance()->IsExistKey(map, key);
    }
};

namespace {

using namespace grs::route;

struct Parsed {
    bool result;
    std::unique_ptr<st_ZRVInfo> record;
};

// Parses over a record that already holds a group, so that what is kept
// and what is replaced shows.
Parsed Parse(const std::string& json) {
    st_ZRVInfo* record = new st_ZRVInfo();
    record->services[L"old"][L"cas"] = L"https://old";
    const bool result = Zorvane::GetInstance()->GetDeserialize(record, json);
    return {result, std::unique_ptr<st_ZRVInfo>(record)};
}

TEST(RouteRecord, ParsingKeepsTheDeliberateOutcomes) {
    const std::string time20(20, '1'), period256(256, '2');
    const struct {
        std::string json;
        bool result;
        int isSuccess;
        std::wstring currentTime, period, country, services;  // services: "group/key=address;"
        bool logged;                                          // an exception was caught and logged
    } cases[] = {
        {"abc", true, 0, L"", L"", L"", L"", false},
        {"{}", true, 0, L"", L"", L"", L"", false},
        {"{\"isSuccess\":1,\"countryCode\":\"CN\",\"currentTime\":1700000000000,\"effectivePeriod\":\"86400\","
         "\"services\":{\"b\":{\"cas\":\"https://c\"},\"a\":{\"push\":\"p\r\nx\",\"k\":\"\xFF\"}}}",
         true, 1, L"1700000000000", L"86400", L"CN", L"a/k=\xFFFD;a/push=p\r\nx;b/cas=https://c;", false},
        {"{\"currentTime\":\"" + time20 + "\",\"isSuccess\":1}", false, 0, L"", L"", L"", L"old/cas=https://old;",
         false},
        {"{\"currentTime\":\"7\",\"effectivePeriod\":\"" + period256 + "\"}", false, 0, L"7", L"", L"",
         L"old/cas=https://old;", false},
        {"{\"isSuccess\":1,\"countryCode\":{}}", false, 0, L"", L"", L"", L"", true},
        {"{\"isSuccess\":\"1\"}", false, 0, L"", L"", L"", L"", true},
        {"{\"isSuccess\":1,\"services\":{\"g\":[1]}}", false, 0, L"", L"", L"", L"", true},
        {"[1]", false, 0, L"", L"", L"", L"", true},
        {std::string(100000, '[') + std::string(100000, ']'), false, 0, L"", L"", L"", L"", true},
        {std::string("{\"isSuccess\":1,\0\"services\":{}}", 30), true, 0, L"", L"", L"", L"", false},
    };
    for (const auto& c : cases) {
        const std::string label = c.json.substr(0, 60);
        ClientStandIn::ClearLogLines();
        const Parsed parsed = Parse(c.json);
        EXPECT_EQ(parsed.result, c.result) << label;
        EXPECT_EQ(parsed.record->isSuccess, c.isSuccess) << label;
        EXPECT_EQ(FieldText(parsed.record->currentTime), c.currentTime) << label;
        EXPECT_EQ(FieldText(parsed.record->effectivePeriod), c.period) << label;
        EXPECT_EQ(parsed.record->countryCode, c.country) << label;
        std::wstring services;
        for (const auto& group : parsed.record->services)
            for (const auto& entry : group.second)
                services += group.first + L"/" + entry.first + L"=" + entry.second + L";";
        EXPECT_EQ(services, c.services) << label;
        const auto lines = grs::test::LogLinesOf("Zorvane::GetDeserialize");
        EXPECT_EQ(lines.size(), c.logged ? 1u : 0u) << label;
        if (!lines.empty()) EXPECT_EQ(lines[0].message.rfind(L"[Zorvane::GetDeserialize] ", 0), 0u) << label;
    }
    st_ZRVInfo* fresh = nullptr;  // allocated even for text that is not JSON
    EXPECT_TRUE(Zorvane::GetInstance()->GetDeserialize(fresh, "x"));
    ASSERT_NE(fresh, nullptr);
    delete fresh;
}

TEST(RouteRecord, WrittenAsOneSortedLineAndReadBack) {
    st_ZRVInfo empty;
    EXPECT_EQ(ZorvaneTestAccess::Serialize(&empty),
              "{\"countryCode\":\"\",\"currentTime\":\"\",\"effectivePeriod\":\"\",\"isSuccess\":0,\"services\":null}");

    st_ZRVInfo record;
    record.isSuccess = 1;
    record.countryCode = L"CN";
    grs::CopyToField(record.currentTime, L"1700000000123");
    grs::CopyToField(record.effectivePeriod, L"86400");
    record.services[L"com.qirent.cloud.pc"] = {{L"portal", L"https://p/"}, {L"cas", L"\x4E2D"}};
    record.services[L"empty"] = {};
    const std::string json = ZorvaneTestAccess::Serialize(&record);
    EXPECT_EQ(json,
              "{\"countryCode\":\"CN\",\"currentTime\":\"1700000000123\",\"effectivePeriod\":\"86400\",\"isSuccess\":1,"
              "\"services\":{\"com.qirent.cloud.pc\":{\"cas\":\"\\u4e2d\",\"portal\":\"https://p/\"},\"empty\":null}}");

    st_ZRVInfo* back = nullptr;
    ASSERT_TRUE(Zorvane::GetInstance()->GetDeserialize(back, json));
    std::unique_ptr<st_ZRVInfo> owned(back);
    // A group written as null comes back as a group without entries.
    EXPECT_EQ(back->services, record.services);
    EXPECT_EQ(back->isSuccess, 1);
    EXPECT_EQ(back->countryCode, L"CN");
    EXPECT_EQ(FieldText(back->currentTime), L"1700000000123");
    EXPECT_EQ(FieldText(back->effectivePeriod), L"86400");

    EXPECT_FALSE(ZorvaneTestAccess::HasKey(std::map<std::wstring, std::wstring>(), L""));
    EXPECT_FALSE(ZorvaneTestAccess::HasKey(std::map<std::string, std::string>(), ""));
    EXPECT_TRUE(ZorvaneTestAccess::HasKey(std::map<std::string, std::string>{{"", "x"}}, ""));
}

TEST(RouteRules, CachePeriodComesFromTheLastEquals) {
    const struct {
        const char* header;
        const char* period;
    } cases[] = {{"max-age=86400", "86400"}, {"max-age=1234567", "12345"}, {"", ""},
                 {"no-cache", "no-ca"},      {"a=1, max-age=60", "60"},    {"max-age=", ""}};
    for (const auto& c : cases) EXPECT_EQ(CachePeriodText(c.header), c.period) << c.header;
}

TEST(RouteRules, CacheIsFreshOnlyBeforeExpiryAndForTheSameCountry) {
    constexpr long long T = 1700000000000;
    using F = CacheFreshness;
    const struct {
        std::string time, period;
        std::wstring cached, user;
        long long now;
        F expected;
    } cases[] = {
        {"1700000000000", "86400", L"CN", L"CN", T + 86399999, F::Fresh},
        {"1700000000000", "86400", L"CN", L"CN", T + 86400000, F::Expired},
        {"1700000000000", "86400", L"CN", L"DE", T, F::OtherCountry},
        {"1700000000000", "86400", L"CN", L"cn", T, F::OtherCountry},
        {"1700000000000", "86400", L"CN", L"", T, F::OtherCountry},
        {"1700000000000", "86400", L"", L"", T, F::TimeTooLongOrNoCountry},
        {"1700000000000000", "86400", L"CN", L"CN", T, F::TimeTooLongOrNoCountry},
        {"", "86400", L"CN", L"CN", T, F::MissingTime},
        {"1700000000000", "", L"CN", L"CN", T, F::MissingTime},
        {"1700000000000", "no-ca", L"CN", L"CN", T, F::Expired},
        {"1700000000000", "60abc", L"CN", L"CN", T + 59999, F::Fresh},
        {"1700000000000", std::string(200, '9'), L"CN", L"CN", T * 1000, F::Fresh},
        {"-99999999999999", "-" + std::string(200, '9'), L"CN", L"CN", T, F::Expired},
    };
    for (const auto& c : cases)
        EXPECT_EQ(JudgeRouteCache(c.time, c.period, c.cached, c.user, c.now), c.expected) << c.time << " " << c.period;
}

TEST(RouteRules, FlatteningPrefersThePackageGroupThenNameOrder) {
    const ServiceGroups groups = {
        {L"a", {{L"portal", L"a-portal"}, {L"push", L"a-push"}}},
        {L"b", {{L"portal", L"b-portal"}, {L"cas", L"b-cas"}, {L"user", L"b-user"}}},
        {L"pkg", {{L"cas", L"pkg-cas"}, {L"user", L""}}},
    };
    const RouteTable expected = {{L"cas", L"pkg-cas"}, {L"portal", L"a-portal"}, {L"push", L"a-push"}, {L"user", L""}};
    EXPECT_EQ(FlattenRoutes(groups, L"pkg"), expected);
    EXPECT_EQ(FlattenRoutes(groups, L"none").at(L"cas"), L"b-cas");

    EXPECT_EQ(FindRouteSetter(L"Portal"), nullptr);
    EXPECT_EQ(FindRouteSetter(std::wstring(L"cas\0x", 5)), nullptr);
    ASSERT_NE(FindRouteSetter(L"dravenstats"), nullptr);
    EXPECT_EQ(FindRouteSetter(L"dravenstats")->set, FindRouteSetter(L"operqrtserverid")->set);
}

TEST(RouteRules, NestingIgnoresStringsAndComments) {
    EXPECT_FALSE(JsonNestsDeeperThan("{\"a\":\"[[[[\",\"b\":[[1]]} // [[[[\n /* {{{{ */", 3));
    EXPECT_TRUE(JsonNestsDeeperThan("{\"a\\\"\":[[[1]]]}", 3));
    EXPECT_FALSE(JsonNestsDeeperThan("]]]]{[[]]}", 3));
}

}  // namespace
