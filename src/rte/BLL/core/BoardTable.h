#pragma once

#include "storage/Setting.h"

#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

/// One entity of bll_config.xml.
struct bleConfig_t
{
    std::string name;
    int loadType = -1; ///< 0 "static", 1 "dynamic", -1 anything else
    bool enabled = false;
};

/// Where the board's facts come from.
struct BoardSources
{
    std::string boardIdFile = "/tmp/get_board_id";
    std::string bllConfigFile = "/opt/qm7100/neroot/active/bridge_SW/bin/bll_config.xml";
    boost::function<bool(int)> isActive; ///< the node's predicate for a deployment option
};

/**
 * Which board this is, and which entities and libraries bll_config.xml gives it. All operations may be called
 * from any thread. After a failure, which is logged, the table holds what was read so far.
 */
class BoardTable
{
public:
    explicit BoardTable(BoardSources from) : sources(std::move(from)) {}

    /// The word in the board id file, kept once it could be read; empty until then.
    [[nodiscard]] std::string getBoardDescription();

    void loadBllConfig();

    /// Reads one BOARD element; answers the number of its records.
    int loadBllCfgForBoard(const boost::shared_ptr<Storage::Setting>& board);

    /// Loads every waiting library from "../lib/", seen from the working directory, with its names global.
    void loadDynamicLibs();

    [[nodiscard]] bool isEnabled(const std::string& entity) const;
    bool disable(const std::string& entity); ///< false: no such record
    [[nodiscard]] std::vector<std::string> names() const;
    [[nodiscard]] std::optional<bleConfig_t> find(const std::string& entity) const;

private:
    std::optional<std::string> nextDynamicLib();

    const BoardSources sources;
    mutable std::mutex leaf; ///< guards what follows; nothing is called while it is held
    std::string boardDescription;
    std::map<std::string, bleConfig_t> bleConfig;
    std::deque<std::string> dynamicLibs; ///< file names waiting to be loaded
};

/// Whether @p board, or a longer name that begins with it, is a board type this software knows.
[[nodiscard]] bool isKnownBoard(const std::string& board);

/// Name under which a board looks itself up in bll_config.xml where deployment option 12 is active.
[[nodiscard]] std::string cordBoardName(const std::string& board);
