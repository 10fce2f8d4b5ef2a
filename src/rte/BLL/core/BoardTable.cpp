#include "rte/BLL/core/BoardTable.h"

#include "common/RegularFile.h"
#include "log/LogText.h"
#include "storage/StorageMng.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iomanip>
#include <string_view>

#include <dlfcn.h>

namespace {

/// Board types, in the order in which they are tried; a suffix after the three letters is allowed.
constexpr std::array<std::string_view, 10> knownBoards{"QXA", "QXB", "QXC", "QXD", "QXE",
                                                       "QXF", "QXG", "QXH", "QXJ", "QXK"};
/// QXA has no entry of its own where option 12 is active, although it is a known board.
constexpr std::string_view boardWithoutCordName = "QXA";

constexpr int longestBoardName = 255;

constexpr int optionCord = 12;

std::string readFirstWord(std::istream& in)
{
    std::string word;
    in >> std::setw(longestBoardName) >> word; // bounded: the file is made by others
    return word;
}

int loadTypeFrom(const std::string& load)
{
    if (load == "static")
        return 0;
    return load == "dynamic" ? 1 : -1;
}

} // namespace

bool isKnownBoard(const std::string& board)
{
    return std::find(knownBoards.begin(), knownBoards.end(), board.substr(0, 3)) != knownBoards.end();
}

std::string cordBoardName(const std::string& board)
{
    const std::string type = board.substr(0, 3);
    return isKnownBoard(board) && type != boardWithoutCordName ? "CORD_" + type : board;
}

std::string BoardTable::getBoardDescription()
{
    {
        const std::lock_guard guard(leaf);
        if (!boardDescription.empty())
            return boardDescription;
    }
    std::ifstream file;
    if (regularFileSize(sources.boardIdFile))
        file.open(sources.boardIdFile);
    if (!file.is_open()) {
        logText(LogImpl::critical, "BLLManager, Can not find board description, open file <",
                sources.boardIdFile, "> failed.\n");
        return {};
    }
    std::string word = readFirstWord(file);
    if (word.empty()) {
        logText(LogImpl::critical, "BLLManager, Can not find board description, buffer is empty.\n");
        return {};
    }
    {
        const std::lock_guard guard(leaf);
        boardDescription = word;
    }
    logText(LogImpl::notice, "BLLManager, running on board <", word, ">.\n");
    return word;
}

void BoardTable::loadBllConfig()
{
    std::string board = getBoardDescription();
    if (board.empty()) {
        logText(LogImpl::critical, "BLLManager, Can not load bll configuration from XML.\n");
        return;
    }
    if (sources.isActive(optionCord))
        board = cordBoardName(board);
    logText(LogImpl::notice, "BLLManager: load bll configuration from XML for ", board, " \n");

    if (!regularFileSize(sources.bllConfigFile) || !std::ifstream(sources.bllConfigFile).is_open()) {
        logText(LogImpl::critical, "BLLManager, Can not open bll configuration file.\n");
        return;
    }
    Storage::StorageMng storage;
    if (!storage.load(sources.bllConfigFile))
        return;
    const auto bll = storage.getRoot("BLL");
    if (!bll)
        return;
    // Siblings are taken whatever their name: only the first must be a BOARD.
    for (auto element = bll->getSubSetting("BOARD"); element; element = element->getNext()) {
        const std::string id = element->getValue("Id");
        if (id == "all_boards" || board.starts_with(id))
            loadBllCfgForBoard(element);
    }
}

int BoardTable::loadBllCfgForBoard(const boost::shared_ptr<Storage::Setting>& board)
{
    int count = 0;
    for (auto element = board->getSubSetting("BLE"); element; element = element->getNext()) {
        bleConfig_t record;
        record.name = element->getValue("Name");
        if (record.name.empty())
            continue;
        record.loadType = loadTypeFrom(element->getValue("Load"));
        record.enabled = element->getValue("Start") == "true";
        const std::string library = record.loadType == 1 ? element->getValue("Library") : std::string();

        const std::lock_guard guard(leaf);
        if (!library.empty())
            dynamicLibs.push_back(library);
        bleConfig[record.name] = record;
        ++count;
    }
    return count;
}

std::optional<std::string> BoardTable::nextDynamicLib()
{
    const std::lock_guard guard(leaf);
    if (dynamicLibs.empty())
        return std::nullopt;
    std::string name = dynamicLibs.front();
    dynamicLibs.pop_front();
    return name;
}

void BoardTable::loadDynamicLibs()
{
    while (const auto name = nextDynamicLib()) {
        const std::string path = "../lib/" + *name;
        // The handles are kept for good: entities of a library stay registered.
        if (dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD | RTLD_GLOBAL) != nullptr)
            logText(LogImpl::warning, "BLLManager, library <", *name, "> has been already loaded!\n");
        else if (dlopen(path.c_str(), RTLD_LAZY | RTLD_GLOBAL) == nullptr)
            logText(LogImpl::critical, "BLLManager, Can not load library<", *name, ">!\n");
        // Ends each round, also after a failure: readers of the log count rounds by this line.
        logText(LogImpl::warning, "BLLManager, library <", *name, "> successfully loaded.\n");
    }
}

bool BoardTable::isEnabled(const std::string& entity) const
{
    const auto record = find(entity);
    return record && record->enabled;
}

bool BoardTable::disable(const std::string& entity)
{
    const std::lock_guard guard(leaf);
    const auto row = bleConfig.find(entity);
    if (row == bleConfig.end())
        return false;
    row->second.enabled = false;
    return true;
}

std::vector<std::string> BoardTable::names() const
{
    const std::lock_guard guard(leaf);
    std::vector<std::string> result;
    for (const auto& [name, record] : bleConfig)
        result.push_back(name);
    return result;
}

std::optional<bleConfig_t> BoardTable::find(const std::string& entity) const
{
    const std::lock_guard guard(leaf);
    const auto row = bleConfig.find(entity);
    return row == bleConfig.end() ? std::nullopt : std::optional(row->second);
}
