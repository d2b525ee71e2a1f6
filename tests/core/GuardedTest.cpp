// The exception edge: whatever the body throws (the client's libraries may
// throw anything, not only standard exceptions) stays inside, the failure
// result comes back, and one severity-5 line names the operation.
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

#include "core/Guarded.h"
#include "core/TextUtil.h"
#include "tests/common/TestSupport.h"

namespace {

constexpr char kOperation[] = "Test::Operation";

class EmptyWhat : public std::exception {
public:
    const char* what() const noexcept override { return ""; }
};

TEST(Guarded, AnyExceptionBecomesTheFailureResultAndOneLogLine) {
    grs::test::StandInSandbox sandbox;
    const struct {
        const char* name;
        std::function<void()> thrower;
        const char* named;  // the operation in the line's brackets; null: the operation itself
        std::string message;
    } cases[] = {
        {"standard exception", [] { throw std::runtime_error("disk gone"); }, nullptr, "[Test::Operation] disk gone"},
        {"standard exception without text", [] { throw EmptyWhat(); }, nullptr,
         "[Test::Operation] Unknown exception"},
        {"not a standard exception", [] { throw 42; }, nullptr, "[Test::Operation] Unknown exception"},
        // The line keeps the tag of the operation that logs it; the brackets
        // name the one the client's log readers look for.
        {"named for another operation", [] { throw std::runtime_error("x"); }, "Other::Name", "[Other::Name] x"},
        {"named, not a standard exception", [] { throw "text"; }, "Other::Name", "[Other::Name] Unknown exception"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ClientStandIn::ClearLogLines();
        bool escaped = false;
        int result = 0;
        try {
            if (c.named == nullptr) {
                result = grs::Guarded(__LINE__, kOperation, -1, [&] {
                    c.thrower();
                    return 1;
                });
            } else {
                result = -1;
                grs::GuardedNaming(__LINE__, kOperation, c.named, [&] { c.thrower(); });
            }
        } catch (...) {
            escaped = true;
        }
        EXPECT_FALSE(escaped);
        EXPECT_EQ(result, -1);
        const auto lines = grs::test::LogLinesOf(kOperation);
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].severity, 5);
        EXPECT_EQ(grs::WideToUtf8(lines[0].message), c.message);
    }
}

}  // namespace
