#include "tools/vnodectl/Print.h"

#include <algorithm>
#include <iomanip>
#include <ostream>

namespace vnodectl {

namespace {

std::string cellText(const Json& value)
{
    if (value.is_null())
        return "-";
    if (value.is_string())
        return value.get<std::string>();
    if (!value.is_array())
        return value.dump();
    std::string text;
    for (const Json& part : value)
        text += (text.empty() ? "" : ",") + cellText(part);
    return text;
}

struct Column
{
    std::string name;
    std::size_t width = 0;
    bool numbers = true;
};

std::vector<Column> columnsOf(const Json& rows)
{
    std::vector<Column> columns;
    for (const auto& [name, value] : rows.front().items())
        columns.push_back({name, name.size(), true});
    for (const Json& row : rows) {
        for (Column& column : columns) {
            column.width = std::max(column.width, cellText(row.at(column.name)).size());
            column.numbers = column.numbers && row.at(column.name).is_number();
        }
    }
    return columns;
}

void printCell(std::ostream& out, const Column& column, const std::string& text, bool last)
{
    if (column.numbers)
        out << std::right << std::setw(static_cast<int>(column.width)) << text;
    else if (last)
        out << text;
    else
        out << std::left << std::setw(static_cast<int>(column.width)) << text;
    out << (last ? "\n" : "  ");
}

void printTable(std::ostream& out, const Json& rows)
{
    if (rows.empty())
        return;
    const std::vector<Column> columns = columnsOf(rows);
    for (const Column& column : columns)
        printCell(out, column, column.name, &column == &columns.back());
    for (const Json& row : rows)
        for (const Column& column : columns)
            printCell(out, column, cellText(row.at(column.name)), &column == &columns.back());
}

} // namespace

void print(std::ostream& out, const Json& value)
{
    if (value.is_array()) {
        printTable(out, value);
        return;
    }
    for (const auto& [name, field] : value.items())
        out << name << ": " << cellText(field) << '\n';
}

} // namespace vnodectl
