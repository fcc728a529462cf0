// Compiles the public header as C++: a build failure here is a header fault.
#include "Quorva.h"

int quorva_header_cxx_probe() { return (int)NATURE_NODE + (int)DISCRETE_TYPE + (int)ERROR_ERR; }
