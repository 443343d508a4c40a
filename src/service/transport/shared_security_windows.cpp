#include "service/transport/shared_security_windows.h"

#include <aclapi.h>

#include <iterator>

namespace tavu {

namespace {

constexpr DWORD kEveryonesRights = GENERIC_READ | GENERIC_WRITE | READ_CONTROL;
constexpr DWORD kAdministratorsRights =
    GENERIC_ALL | GENERIC_EXECUTE | GENERIC_WRITE | GENERIC_READ | STANDARD_RIGHTS_REQUIRED;
static_assert(kEveryonesRights == 0xC0020000 && kAdministratorsRights == 0xF00F0000);

EXPLICIT_ACCESSW access(DWORD rights, PSID identifier, TRUSTEE_TYPE type)
{
    EXPLICIT_ACCESSW entry = {};
    entry.grfAccessPermissions = rights;
    entry.grfAccessMode = SET_ACCESS;
    entry.grfInheritance = NO_INHERITANCE;
    entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entry.Trustee.TrusteeType = type;
    entry.Trustee.ptstrName = static_cast<LPWSTR>(identifier);
    return entry;
}

class SharedSecurity
{
public:
    SharedSecurity()
    {
        complete_ = build();
        if (!complete_)
            release();
    }
    SharedSecurity(const SharedSecurity &) = delete;
    SharedSecurity &operator=(const SharedSecurity &) = delete;
    ~SharedSecurity() { release(); }

    SECURITY_ATTRIBUTES *attributes() { return complete_ ? &attributes_ : nullptr; }

private:
    bool build();
    void release();

    SECURITY_ATTRIBUTES attributes_ = {};
    PSID everyone_ = nullptr;
    PSID administrators_ = nullptr;
    PACL accessList_ = nullptr;
    PSECURITY_DESCRIPTOR descriptor_ = nullptr;
    bool complete_ = false;
};

bool SharedSecurity::build()
{
    SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
    if (!AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &everyone_))
        return false;
    SID_IDENTIFIER_AUTHORITY system = SECURITY_NT_AUTHORITY;
    if (!AllocateAndInitializeSid(&system, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS,
                                  0, 0, 0, 0, 0, 0, &administrators_))
        return false;
    EXPLICIT_ACCESSW entries[] = {
        access(kEveryonesRights, everyone_, TRUSTEE_IS_WELL_KNOWN_GROUP),
        access(kAdministratorsRights, administrators_, TRUSTEE_IS_GROUP),
    };
    if (SetEntriesInAclW(static_cast<ULONG>(std::size(entries)), entries, nullptr, &accessList_) !=
        ERROR_SUCCESS)
        return false;
    static_assert(SECURITY_DESCRIPTOR_MIN_LENGTH == 40);
    descriptor_ = LocalAlloc(LPTR, SECURITY_DESCRIPTOR_MIN_LENGTH);
    if (!descriptor_ || !InitializeSecurityDescriptor(descriptor_, SECURITY_DESCRIPTOR_REVISION) ||
        !SetSecurityDescriptorDacl(descriptor_, TRUE, accessList_, FALSE))
        return false;
    attributes_.nLength = sizeof attributes_;
    attributes_.lpSecurityDescriptor = descriptor_;
    attributes_.bInheritHandle = FALSE;
    return true;
}

void SharedSecurity::release()
{
    if (everyone_)
        FreeSid(everyone_);
    if (administrators_)
        FreeSid(administrators_);
    if (accessList_)
        LocalFree(accessList_);
    if (descriptor_)
        LocalFree(descriptor_);
    everyone_ = administrators_ = nullptr;
    accessList_ = nullptr;
    descriptor_ = nullptr;
    attributes_ = {};
}

} // namespace

SECURITY_ATTRIBUTES *sharedSecurityAttributes()
{
    static SharedSecurity security;
    return security.attributes();
}

} // namespace tavu
