#include "rte/BLL/core/BoardTable.h"
#include "support/CapturedLog.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <memory>
#include <set>
#include <sys/stat.h>

#include <gtest/gtest.h>

namespace {

class BoardTableTest : public testing::Test
{
protected:
    /// A table for files of that content; std::nullopt: no such file.
    BoardTable& table(std::optional<std::string> boardId, std::optional<std::string> config = std::nullopt)
    {
        BoardSources sources;
        sources.boardIdFile = boardId ? folder.file("board_id", *boardId) : folder.path("absent_id");
        sources.bllConfigFile = config ? folder.file("bll_config.xml", *config) : folder.path("absent.xml");
        sources.isActive = [this](int option) { return options.contains(option); };
        made = std::make_unique<BoardTable>(sources);
        return *made;
    }

    /// Loads the table and answers what it holds as "name:type:enabled" texts.
    std::vector<std::string> loaded(const std::string& boardId, const std::string& config)
    {
        BoardTable& board = table(boardId, config);
        board.loadBllConfig();
        std::vector<std::string> rows;
        for (const std::string& name : board.names()) {
            const bleConfig_t record = *board.find(name);
            rows.push_back(name + ":" + std::to_string(record.loadType) + (record.enabled ? ":on" : ":off"));
        }
        return rows;
    }

    TemporaryFolder folder;
    std::set<int> options;
    std::unique_ptr<BoardTable> made;
    CapturedLog log;
};

using Rows = std::vector<std::string>;

std::string ble(const std::string& name, const std::string& rest = " Start='true'")
{
    return "<BLE Name='" + name + "' Load='static'" + rest + "/>";
}
std::string board(const std::string& id, const std::string& entities)
{
    return "<BOARD Id='" + id + "'>" + entities + "</BOARD>";
}
std::string config(const std::string& boards) { return "<root><BLL>" + boards + "</BLL></root>"; }

} // namespace

TEST_F(BoardTableTest, TheBoardIdIsOneWordReadOnce)
{
    BoardTable& board = table(" QXB2 second\n");
    EXPECT_EQ(board.getBoardDescription(), "QXB2");
    EXPECT_TRUE(log.has(LogImpl::notice, "BLLManager, running on board <QXB2>.\n"));
    folder.file("board_id", "QXA");
    EXPECT_EQ(board.getBoardDescription(), "QXB2");
}

TEST_F(BoardTableTest, AMissingBoardIdIsTriedAgain)
{
    BoardTable& board = table(std::nullopt);
    EXPECT_EQ(board.getBoardDescription(), "");
    EXPECT_TRUE(log.has(LogImpl::critical, "BLLManager, Can not find board description, open file <" +
                                               folder.path("absent_id") + "> failed.\n"));
    folder.file("absent_id", "  \n");
    EXPECT_EQ(board.getBoardDescription(), "");
    EXPECT_TRUE(log.has(LogImpl::critical, "BLLManager, Can not find board description, buffer is empty.\n"));
    folder.file("absent_id", "QXK");
    EXPECT_EQ(board.getBoardDescription(), "QXK");
}

/// The file lies where anybody may write.
TEST_F(BoardTableTest, AnOddBoardIdFileNeitherBlocksNorFillsMemory)
{
    ASSERT_EQ(mkfifo(folder.path("absent_id").c_str(), 0600), 0);
    EXPECT_EQ(table(std::nullopt).getBoardDescription(), "");
    EXPECT_EQ(table(std::string(100'000, 'x')).getBoardDescription().size(), 255U);
}

TEST_F(BoardTableTest, WithoutABoardOrAFileTheTableStaysEmpty)
{
    table(std::nullopt, config(board("all_boards", ble("dhcpra")))).loadBllConfig();
    EXPECT_TRUE(made->names().empty());
    EXPECT_TRUE(log.has(LogImpl::critical, "BLLManager, Can not load bll configuration from XML.\n"));
    table("QXB").loadBllConfig();
    EXPECT_TRUE(made->names().empty());
    EXPECT_TRUE(log.has(LogImpl::notice, "BLLManager: load bll configuration from XML for QXB \n"));
    EXPECT_TRUE(log.has(LogImpl::critical, "BLLManager, Can not open bll configuration file.\n"));
}

TEST_F(BoardTableTest, ValuesOfAnEntity)
{
    EXPECT_EQ(loaded("QXB", config(board("all_boards", "<BLE Name='a' Load='static' Start='true'/>"
                                                       "<BLE Name='b' Load='dynamic' Start='TRUE'/>"
                                                       "<BLE Name='c' Load='other'/>"
                                                       "<BLE Load='static' Start='true'/>"
                                                       "<ANY Name='d' Load='static' Start='true'/>"))),
              (Rows{"a:0:on", "b:1:off", "c:-1:off", "d:0:on"})); // d: a sibling of any name counts
}

TEST_F(BoardTableTest, ABoardMatchesByItsBeginning)
{
    std::string boards;
    for (const char* id : {"all_boards", "QXA", "QXB", "QXB2", "QX", "CORD_QXB", "CORD_", "qxb"})
        boards += board(id, "<BLE Name='" + std::string(id) + "' Load='static'/>");
    const struct
    {
        const char* boardId;
        bool cord;
        Rows ids; ///< those of the file that match
    } cases[] = {{"QXB", false, {"QX", "QXB", "all_boards"}},
                 {"QXB2", false, {"QX", "QXB", "QXB2", "all_boards"}},
                 {"ABC", false, {"all_boards"}},
                 {"QXB2", true, {"CORD_", "CORD_QXB", "all_boards"}},
                 {"QXA", true, {"QX", "QXA", "all_boards"}}, // has no name of that kind
                 {"ABC", true, {"all_boards"}}};
    for (const auto& [boardId, cord, ids] : cases) {
        options = cord ? std::set{12} : std::set<int>{};
        loaded(boardId, config(boards));
        EXPECT_EQ(made->names(), ids) << boardId << cord;
    }
}

TEST_F(BoardTableTest, ALaterElementOverridesAndEntitiesCanBeSwitchedOff)
{
    // No id is the beginning of every name.
    EXPECT_EQ(loaded("QXB", config("<BOARD>" + ble("a") + "</BOARD>")), (Rows{"a:0:on"}));
    EXPECT_EQ(loaded("QXB", config(board("QXB", ble("b") + ble("a")) + board("all_boards", ble("b", "")))),
              (Rows{"a:0:on", "b:0:off"}));
    EXPECT_TRUE(made->isEnabled("a"));
    EXPECT_FALSE(made->isEnabled("b"));
    EXPECT_FALSE(made->isEnabled("absent"));
    EXPECT_FALSE(made->disable("absent"));
    EXPECT_TRUE(made->disable("a"));
    EXPECT_FALSE(made->isEnabled("a"));
    EXPECT_EQ(made->names(), (Rows{"a", "b"}));
}

TEST_F(BoardTableTest, LibrariesAreLoadedOnceInOrderWhateverHappens)
{
    // "../lib/" is seen from the working directory.
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::create_directories(folder.path("lib"));
    std::filesystem::create_directories(folder.path("bin"));
    std::filesystem::copy_file(GUEST_LIBRARY, folder.path("lib/guest.so"));
    std::filesystem::current_path(folder.path("bin"));

    loaded("QXB", config(board("all_boards", "<BLE Name='a' Load='dynamic' Library='guest.so'/>"
                                             "<BLE Name='b' Load='static' Library='ignored.so'/>"
                                             "<BLE Name='c' Load='dynamic' Library='absent.so'/>"
                                             "<BLE Name='d' Load='dynamic'/>"
                                             "<BLE Name='e' Load='dynamic' Library='guest.so'/>")));
    const std::size_t start = log.lines().size();
    made->loadDynamicLibs();
    made->loadDynamicLibs(); // none are left
    std::filesystem::current_path(before);

    std::vector<CapturedLog::Line> lines = log.lines();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(start));
    using Line = CapturedLog::Line;
    EXPECT_EQ(lines, (std::vector<Line>{
                         {LogImpl::warning, "BLLManager, library <guest.so> successfully loaded.\n"},
                         {LogImpl::critical, "BLLManager, Can not load library<absent.so>!\n"},
                         {LogImpl::warning, "BLLManager, library <absent.so> successfully loaded.\n"},
                         {LogImpl::warning, "BLLManager, library <guest.so> has been already loaded!\n"},
                         {LogImpl::warning, "BLLManager, library <guest.so> successfully loaded.\n"},
                     }));
}
