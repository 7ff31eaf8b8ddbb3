// Whether the program was built with AddressSanitizer.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define VANDRA_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VANDRA_ASAN 1
#endif
#endif

#ifdef VANDRA_ASAN
constexpr bool rx_address_sanitizer = true;
#else
constexpr bool rx_address_sanitizer = false;
#endif
