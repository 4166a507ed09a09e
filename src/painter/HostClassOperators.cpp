// Emits the copy and move operators of the host's mesh and parameter classes, which this library exports.
#define ORV_EMIT_HOST_OPERATORS
#include "host/orvMesh.h"
