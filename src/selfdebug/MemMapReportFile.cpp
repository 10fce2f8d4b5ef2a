#include "selfdebug/MemMapReportFile.h"

std::string& memMapReportFile()
{
    static auto& name = *new std::string;
    return name;
}
