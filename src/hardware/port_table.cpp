#include "hardware/port_table.h"

#include "hardware/binding/handles.h"
#include "hardware/library_access.h"

#include <stdexcept>
#include <utility>

namespace tavu {

void PortTable::build(Quillon::Device &recorder)
{
    std::vector<PortState> ports(recorder.portCount());
    for (uint64_t i = 0; i < ports.size(); ++i)
        ports[i].config.name = textOf(libraryPort(recorder, i)->name());
    ports_ = std::move(ports);
}

PortState &PortTable::at(uint64_t port)
{
    if (port >= ports_.size())
        throw std::runtime_error("Invalid port index.");
    return ports_[port];
}

} // namespace tavu
