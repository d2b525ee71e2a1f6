// The route record's JSON form and the pure decisions of the route service.
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "core/TextUtil.h"
#include "route/RouteDetail.h"
#include "globalrootservice/Zorvane.h"
#include "tests/common/TestSupport.h"

class ZorvaneTestAccess {
public:
    static std::string Serialize(st_ZRVInfo* record) { return Zorvane::GetInstance()->SerializeZRV(record); }
};

namespace {

using namespace grs::route;
using grs::FieldText;

std::wstring Describe(const st_ZRVInfo& r) {
    std::wstring text = std::to_wstring(r.isSuccess) + L"|" + FieldText(r.currentTime) + L"|" +
                        FieldText(r.effectivePeriod) + L"|" + r.countryCode + L"|";
    for (const auto& group : r.services)
        for (const auto& entry : group.second) text += group.first + L"/" + entry.first + L"=" + entry.second + L";";
    return text;
}

TEST(RouteRecord, ParsingKeepsTheDeliberateOutcomes) {
    const struct {
        std::string json;
        bool result;
        std::wstring record;  // parsed over a record holding "old/cas=o"
        bool logged = false;
    } cases[] = {
        {"abc", true, L"0||||"},
        {"{}", true, L"0||||"},
        {"{\"isSuccess\":1,\"countryCode\":\"CN\",\"currentTime\":1700000000000,\"effectivePeriod\":\"86400\","
         "\"services\":{\"b\":{\"cas\":\"c\"},\"a\":{\"push\":\"p\",\"k\":\"\xFF\"}}}",
         true, L"1|1700000000000|86400|CN|a/k=\xFFFD;a/push=p;b/cas=c;"},
        {"{\"currentTime\":\"" + std::string(20, '1') + "\",\"isSuccess\":1}", false, L"0||||old/cas=o;"},
        {"{\"currentTime\":\"7\",\"effectivePeriod\":\"" + std::string(256, '2') + "\"}", false, L"0|7|||old/cas=o;"},
        {"{\"isSuccess\":1,\"countryCode\":{}}", false, L"0||||", true},  // the library throws
        {"{\"isSuccess\":2,\"isSuccess\":1,\"services\":{\"g\":{\"k\":\"1\",\"k\":\"2\"}}}", true, L"1||||g/k=2;"},
    };
    for (const auto& c : cases) {
        ClientStandIn::ClearLogLines();
        auto record = std::make_unique<st_ZRVInfo>();
        record->services[L"old"][L"cas"] = L"o";
        st_ZRVInfo* raw = record.release();
        EXPECT_EQ(Zorvane::GetInstance()->GetDeserialize(raw, c.json), c.result) << c.json;
        record.reset(raw);
        EXPECT_EQ(Describe(*record), c.record) << c.json;
        EXPECT_EQ(grs::test::LogLinesOf("Zorvane::GetDeserialize").size(), c.logged ? 1u : 0u) << c.json;
    }
    st_ZRVInfo* fresh = nullptr;  // allocated even for text that is not JSON
    EXPECT_TRUE(Zorvane::GetInstance()->GetDeserialize(fresh, "x"));
    EXPECT_NE(std::unique_ptr<st_ZRVInfo>(fresh), nullptr);
}

// A group enters the record only with an entry: null and empty groups are
// dropped when read, so a written empty group (null, below) does not come
// back either.
TEST(RouteRecord, GroupsWithoutEntriesAreDropped) {
    const struct {
        const char* label;
        std::string services;
        std::wstring groups;  // names in the record, each followed by ';'
    } cases[] = {
        {"mixed", "{\"a\":{},\"b\":null,\"c\":{\"k\":\"v\"}}", L"c;"},
        {"only empty", "{\"com.pkg\":{}}", L""},
        {"only null", "{\"com.pkg\":null}", L""},
        {"empty value kept", "{\"a\":{\"k\":\"\"},\"b\":{}}", L"a;"},
        {"no groups", "{}", L""},
        {"services null", "null", L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        st_ZRVInfo* raw = nullptr;
        EXPECT_TRUE(Zorvane::GetInstance()->GetDeserialize(raw, "{\"isSuccess\":1,\"services\":" + c.services + "}"));
        const std::unique_ptr<st_ZRVInfo> record(raw);
        std::wstring groups;
        for (const auto& group : record->services) groups += group.first + L";";
        EXPECT_EQ(groups, c.groups);
    }
}

TEST(RouteRecord, WrittenAsOneSortedLine) {
    st_ZRVInfo record;
    EXPECT_EQ(ZorvaneTestAccess::Serialize(&record),
              "{\"countryCode\":\"\",\"currentTime\":\"\",\"effectivePeriod\":\"\",\"isSuccess\":0,\"services\":null}");
    record.isSuccess = 1;
    record.countryCode = L"CN";
    grs::CopyToField(record.currentTime, L"1700000000123");
    grs::CopyToField(record.effectivePeriod, L"86400");
    record.services[L"pkg"] = {{L"portal", L"https://p/"}, {L"cas", L"\x4E2D"}};
    record.services[L"empty"] = {};
    EXPECT_EQ(ZorvaneTestAccess::Serialize(&record),
              "{\"countryCode\":\"CN\",\"currentTime\":\"1700000000123\",\"effectivePeriod\":\"86400\",\"isSuccess\":1,"
              "\"services\":{\"empty\":null,\"pkg\":{\"cas\":\"\\u4e2d\",\"portal\":\"https://p/\"}}}");
}

TEST(RouteRules, CachePeriodComesFromTheLastEquals) {
    const std::pair<const char*, const char*> cases[] = {
        {"max-age=86400", "86400"}, {"max-age=1234567", "12345"}, {"", ""}, {"no-cache", "no-ca"}, {"a=1,b=60", "60"}};
    for (const auto& c : cases) EXPECT_EQ(CachePeriodText(c.first), c.second) << c.first;
}

TEST(RouteRules, CacheIsFreshOnlyBeforeExpiryAndForTheSameCountry) {
    constexpr long long T = 1700000000000;
    const std::string t = std::to_string(T), huge(200, '9');
    using F = CacheFreshness;
    const struct {
        std::string time, period;
        std::wstring cached, user;
        long long now;
        F expected;
    } cases[] = {
        {t, "86400", L"CN", L"CN", T + 86399999, F::Fresh},
        {t, "86400", L"CN", L"CN", T + 86400000, F::Expired},
        {t, "86400", L"CN", L"cn", T, F::OtherCountry},
        {t, "86400", L"CN", L"", T, F::OtherCountry},
        {t, "86400", L"", L"", T, F::TimeTooLongOrNoCountry},
        {t + "000", "86400", L"CN", L"CN", T, F::TimeTooLongOrNoCountry},
        {"", "86400", L"CN", L"CN", T, F::MissingTime},
        {t, "", L"CN", L"CN", T, F::MissingTime},
        {t, "no-ca", L"CN", L"CN", T, F::Expired},
        {t, huge, L"CN", L"CN", T * 1000, F::Fresh},  // saturates instead of overflowing
    };
    for (const auto& c : cases)
        EXPECT_EQ(JudgeRouteCache(c.time, c.period, c.cached, c.user, c.now), c.expected) << c.time << " " << c.period;
}

// A tampered cache can carry any 64-bit period: the expiry saturates exactly
// where the true sum leaves the 64-bit range, and nowhere before.
TEST(RouteRules, ExpirySaturatesOnlyOutsideTheRange) {
    constexpr long long kMax = std::numeric_limits<long long>::max(), kMin = std::numeric_limits<long long>::min();
    const struct {
        const char* time;
        const char* period;
        long long expiry;
    } cases[] = {
        {"1700000000000", "86400", 1700086400000},
        {"0", "9223372036854775", 9223372036854775000},  // the largest period that still fits in milliseconds
        {"0", "9223372036854776", kMax},
        {"0", "-9223372036854775", -9223372036854775000},
        {"0", "-9223372036854776", kMin},
        {"807", "9223372036854775", kMax},  // the sum is exactly the largest value
        {"806", "9223372036854775", kMax - 1},
        {"808", "9223372036854775", kMax},
        {"-808", "-9223372036854775", kMin},
        {"-807", "-9223372036854775", kMin + 1},
        {"-809", "-9223372036854775", kMin},
        {"x", "y", 0},
    };
    for (const auto& c : cases) EXPECT_EQ(RouteCacheExpiryMs(c.time, c.period), c.expiry) << c.time << " " << c.period;
}

}  // namespace
