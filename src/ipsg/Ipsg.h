#pragma once

#include "common/singleton.h"
#include "rte/BLL/core/BLEntity.h"
#include "rte/BLL/core/RPCProxy.h"

#include <list>
#include <string>

/// Registers the IP source guard program; defined with the program's procedures.
void* rpcIpsgStart(void*);

/// The IP source guard entity. It serves its RPC program; the binding engine behind it is not part of it yet.
class Ipsg : public BLEntity, public singleton<Ipsg>
{
public:
    Ipsg();
    ~Ipsg() noexcept override = default;

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
