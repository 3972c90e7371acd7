// A process that has many descriptors or handles open.
#ifndef TESTS_FAULTS_MANY_DESCRIPTORS_H
#define TESTS_FAULTS_MANY_DESCRIPTORS_H

#include <cstddef>
#include <memory>

namespace zerova::test {

// Has that many open on nothing for as long as it lives. Throws std::runtime_error if it cannot.
class ManyDescriptors
{
public:
   explicit ManyDescriptors(std::size_t count);
   ~ManyDescriptors();
   ManyDescriptors(const ManyDescriptors&) = delete;
   ManyDescriptors& operator=(const ManyDescriptors&) = delete;

private:
   struct Open;
   const std::unique_ptr<Open> open_;
};

} // namespace zerova::test

#endif
