#pragma once

#include "rte/BLL/core/BLEntity.h"

#include <list>
#include <string>
#include <utility>
#include <vector>

/// What was called, as "operation name".
using Journal = std::vector<std::string>;

/// An entity that writes down what is done to it and fails on demand.
class FakeEntity : public BLEntity
{
public:
    FakeEntity(Journal& to, std::string entityName, std::list<std::string> needs = {})
        : BLEntity(std::move(entityName)), journal(to), dependencies(std::move(needs))
    {}

    void applyConfiguration(boost::shared_ptr<Storage::Setting> settings) override
    {
        journal.push_back((settings ? "configure with settings " : "configure ") + name);
    }
    void saveConfiguration(boost::shared_ptr<Storage::Setting> settings) const override
    {
        journal.push_back("save " + name);
        settings->setValue("savedBy", name);
    }
    bool start() override { return note("start ", startWorks); }
    bool applyDefaultSettings() override { return note("defaults ", defaultsWork); }
    bool stop() override { return note("stop ", stopWorks); }
    void getDependencies(std::list<std::string>& names) override { names = dependencies; }

    bool startWorks = true;
    bool defaultsWork = true;
    bool stopWorks = true;

private:
    bool note(const char* what, bool result)
    {
        journal.push_back(what + name);
        return result;
    }

    Journal& journal;
    const std::list<std::string> dependencies;
};
