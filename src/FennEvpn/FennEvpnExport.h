// FENN_EVPN_EXPORT marks what libFennEvpn.so exports to an agent: the factories, and the
// classes an agent touches (state machines, the entities between them, helper interfaces
// and their stubs, the records and values with members compiled into the library). The
// library is compiled with hidden visibility, so whatever is not marked stays inside it;
// scripts/abi compares the exported symbols with the checked-in list (docs/integration.md).
#pragma once

#define FENN_EVPN_EXPORT __attribute__((visibility("default")))
