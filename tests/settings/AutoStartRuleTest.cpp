// Start with Windows: the file's "IsAutoStartUp" against the Run registration.
#include <gtest/gtest.h>

#include "settings/SettingRules.h"

namespace grs::settings {
namespace {

TEST(AutoStartPlan, FileDecidesUnlessItSaysNothing) {
    using C = AutoStartCase;
    using R = RunRegistration;
    struct Row {
        const wchar_t* file;
        bool registered;
        bool asksRegistry;
        C which;
        bool autoStart;
        bool writeFile;
        R registration;
    };
    // clang-format off
    const Row rows[] = {
        {L"",     false, true,  C::Empty, false, true,  R::Keep},
        {L"",     true,  true,  C::Empty, true,  true,  R::Keep},
        {L"1",    false, false, C::On,    true,  false, R::Register},
        {L"1",    true,  false, C::On,    true,  false, R::Register},    // written again at every start
        {L"0",    true,  true,  C::Off,   false, false, R::Unregister},
        {L"0",    false, true,  C::Off,   false, false, R::Keep},
        {L"true", true,  true,  C::Off,   false, false, R::Unregister},  // only "1" means on
        {L" 1",   false, true,  C::Off,   false, false, R::Keep},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << (&row - rows));
        EXPECT_EQ(NeedsRegistration(row.file), row.asksRegistry);
        const AutoStartPlan plan = PlanAutoStart(row.file, row.registered);
        EXPECT_EQ(plan.which, row.which);
        EXPECT_EQ(plan.autoStart, row.autoStart);
        EXPECT_EQ(plan.writeFile, row.writeFile);
        EXPECT_EQ(plan.setAutoCheckUpdate, row.writeFile);
        EXPECT_EQ(plan.registration, row.registration);
    }
}

}  // namespace
}  // namespace grs::settings
