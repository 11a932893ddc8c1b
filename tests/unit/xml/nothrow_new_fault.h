// Lets a test make the next nothrow allocation fail, as the accessor factory's
// allocation does when memory runs out. Include in one file per test program:
// it replaces the program's nothrow operator new.
#ifndef NORVANE_TESTS_XML_NOTHROW_NEW_FAULT_H
#define NORVANE_TESTS_XML_NOTHROW_NEW_FAULT_H

#include <cstddef>
#include <new>

namespace norvane_test {

// When set, the next nothrow allocation returns null (and clears the flag).
bool fail_nothrow_new = false;

}  // namespace norvane_test

// Every other nothrow allocation goes through the ordinary operator new, so
// that new/delete pairs stay matched for the sanitizers.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (norvane_test::fail_nothrow_new) {
        norvane_test::fail_nothrow_new = false;
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (...) {
        return nullptr;
    }
}

#endif
