/* Compiles the public header as strict C99: a build failure here is a header fault. */
#include "Quorva.h"

int quorva_header_c_probe(void) { return (int)NATURE_NODE + (int)DISCRETE_TYPE + (int)ERROR_ERR; }
