// A recorder library without recorders: it shows that the installed headers suffice, and that the
// sizes of the objects which both sides hold are those that their guide tells.

#define QUILLON_BUILDING_LIBRARY
#include <tavu/hardware/library/instance.h>

namespace Quillon {

static_assert(sizeof(String) == 8 && sizeof(Vector<Drive>) == 16);
static_assert(sizeof(VectorIterator<Drive>) == 8 && sizeof(Common::GeneralException) == 8);
static_assert(sizeof(Common::Buffer) == 24 && sizeof(ParameterValue) == 16);
static_assert(sizeof(Drive::PhysicalLocation) == 4 && sizeof(DriveSet::Source) == 48);
static_assert(sizeof(DriveSet::CreateParameters) == 72);

boost::shared_ptr<Instance> Instance::initialize(const String &, bool, Scope)
{
    return {};
}

} // namespace Quillon
