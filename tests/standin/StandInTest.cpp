// Promises of the stand-in libraries that the library's subsystems rely on.
#include <gtest/gtest.h>

#include "globalrootservice/collaborators/CloudLogger.h"
#include "globalrootservice/collaborators/MainDatabaseProvider.h"
#include "tests/common/TestSupport.h"

namespace {

namespace db = PropertyDb::MainDatabaseProvider;

TEST(StandIn, PropertyRowsSurviveAReopenPerUser) {
    grs::test::StandInSandbox sandbox;
    ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"alice");
    std::vector<PropertyDb::UserProperties> rows = {{L"B", L"2"}, {L"A", L"1"}, {L"C", L"\x00E9"}};
    db::InsertUserProperties(rows);
    db::UpdateUserProperties(L"A", L"one");
    db::UpdateUserProperties(L"Missing", L"x");  // updates only existing rows
    db::InsertUserProperties(L"B", L"two");      // replaces in place
    ClientStandIn::CloseDatabase();

    const auto reopened = db::GetAllUserProperties();
    ASSERT_EQ(reopened.size(), 3u);
    EXPECT_EQ(reopened[0].key, L"B");
    EXPECT_EQ(reopened[0].value, L"two");
    EXPECT_EQ(reopened[1].value, L"one");
    EXPECT_EQ(reopened[2].value, L"\x00E9");
    EXPECT_EQ(db::GetUserPropertieByKey(L"Missing"), L"");

    ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"bob");
    EXPECT_TRUE(db::GetAllUserProperties().empty());
    db::InsertUserProperties(L"K", L"v");
    db::DeleteAllUserProperties();
    EXPECT_TRUE(db::GetAllUserProperties().empty());
    ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"alice");
    EXPECT_EQ(db::GetAllUserProperties().size(), 3u);
}

TEST(StandIn, LoggerKeepsEveryLineAndWritesTheFile) {
    grs::test::StandInSandbox sandbox;
    auto* logger = Logger::CloudLogger::GetInstance();
    logger->Output(Logger::ModuleMain, Logger::SeverityError, 122, "A::B", std::wstring(L"wide \x00FC"), true);
    logger->Output(Logger::ModuleMain, Logger::SeverityInfo, 7, "C::D", std::string("narrow"), false);
    const auto lines = ClientStandIn::LogLines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].severity, 5);
    EXPECT_EQ(lines[0].line, 122);
    EXPECT_EQ(lines[0].message, L"wide \x00FC");
    EXPECT_TRUE(lines[0].wide);
    EXPECT_FALSE(lines[1].wide);
    EXPECT_FALSE(lines[1].flag);
    const std::string file = grs::test::ReadFileBytes(sandbox.Root() / L"client.log");
    EXPECT_NE(file.find("A::B:122 wide \xC3\xBC"), std::string::npos);
    EXPECT_NE(file.find("C::D:7 narrow"), std::string::npos);
}

}  // namespace
