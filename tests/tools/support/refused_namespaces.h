// A process for which the system gives out no namespaces, as in most containers.
#ifndef TESTS_TOOLS_SUPPORT_REFUSED_NAMESPACES_H
#define TESTS_TOOLS_SUPPORT_REFUSED_NAMESPACES_H

namespace zerova::test {

// From now on the calling process and those that it starts are refused each unshare(2), with EPERM.
// Throws std::system_error.
void refuseNamespaces();

} // namespace zerova::test

#endif
