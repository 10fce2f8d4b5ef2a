#include "Require.h"
#include "storage/Storage.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <unistd.h>

#include <libxml/xmlerror.h>

namespace {

void dropMessage(void*, const char*, ...) {}

/// A file of this process's own, in memory where there is such a place.
const std::string& ownFile()
{
    static const std::string path = [] {
        std::cout.rdbuf(nullptr);                     // most inputs are told to be no XML
        xmlSetGenericErrorFunc(nullptr, dropMessage); // and why
        const std::filesystem::path memory = "/dev/shm";
        const auto folder = exists(memory) ? memory : std::filesystem::temp_directory_path();
        return folder / ("fuzz_storage." + std::to_string(getpid()));
    }();
    return path;
}

/// Every element with the values that the manager reads.
void visit(const boost::shared_ptr<Storage::Setting>& first)
{
    for (auto element = first; element; element = element->getNext()) {
        static_cast<void>(element->getValue("Id") + element->getValue("Name"));
        visit(element->getSubSetting("BOARD"));
        visit(element->getSubSetting("BLE"));
    }
}

} // namespace

/**
 * First byte: size of the name and the value that are added to the document, which is the rest. Whatever
 * save() accepts, load() reads again with the same value.
 */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string_view added = input.substr(0, data[0]);
    const std::string name(added.substr(0, added.size() / 2));
    const std::string value(added.substr(added.size() / 2));
    const std::string& file = ownFile();
    std::ofstream(file) << input.substr(added.size());

    Storage::StorageMng storage;
    if (storage.load(file))
        visit(storage.getRoot("BLL"));
    else
        require(!storage.save(file));

    Storage::StorageMng made;
    made.addRoot("BLL")->addSubSetting("BOARD")->setValue(name, value);
    if (made.save(file)) {
        require(storage.load(file));
        require(storage.getRoot("BLL")->getSubSetting("BOARD")->getValue(name) == value);
    }
    if (const auto root = storage.addRoot("added"))
        root->setValue("Id", value);
    if (storage.save(file))
        require(made.load(file));
    std::filesystem::remove(file);
    return 0;
}
