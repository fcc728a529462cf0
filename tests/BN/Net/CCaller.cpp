// Calls made as a C program makes them: there an enum parameter is an int, and any int can be
// passed.  This file does not include Quorva.h, so that it can declare the parameter so.
struct node_bn;

extern "C" void SetNodeKind_bn(node_bn* node, int kind);

void setNodeKindFromC(node_bn* node, int kind) { SetNodeKind_bn(node, kind); }
