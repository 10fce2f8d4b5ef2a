#pragma once

#include "common/singleton.h"
#include "rte/BLL/core/BLEntity.h"
#include "rte/BLL/core/RPCProxy.h"

#include <list>
#include <string>

/// The ARP inspection entity. It serves its RPC program; the ACL engine behind it is not part of it yet.
class Dai : public BLEntity, public singleton<Dai>
{
public:
    Dai();
    ~Dai() noexcept override = default;

    /// Hands over the start function of the entity's RPC program, before start(): the programs call the
    /// entities and so stand above them.
    void setProgram(RPCProxy::startFunction_t function) { mngProxy.setProgram(function); }
    void applyConfiguration(boost::shared_ptr<Storage::Setting>) override {}      // arrives over RPC
    void saveConfiguration(boost::shared_ptr<Storage::Setting>) const override {} // the peer keeps it
    bool start() override;
    /// There is no engine to reset yet, so this answers false.
    bool applyDefaultSettings() override;
    bool stop() override;
    void getDependencies(std::list<std::string>& names) override { names.clear(); }

private:
    RPCProxy mngProxy;
};
