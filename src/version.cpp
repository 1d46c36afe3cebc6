#include "version.h"

#define TEXT_OF(number) #number
#define DOTTED(major, minor, patch) TEXT_OF(major) "." TEXT_OF(minor) "." TEXT_OF(patch)

const char* sonx_version() {
  return DOTTED(SONX_VERSION_MAJOR, SONX_VERSION_MINOR, SONX_VERSION_PATCH);
}
