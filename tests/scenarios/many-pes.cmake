# Writes a scenario in which 2000 remote PEs flood VLAN 10 while the default pool holds
# 1024 hardware tunnel IDs, runs fenn-sim on it, and checks that the output shows the
# exhausted pool, the PEs waiting for an ID, and their entries as not forwarding.
#   cmake -DSIM=<fenn-sim> -DDIR=<scratch directory> -P many-pes.cmake
set(scenario "${DIR}/many-pes.yaml")
set(text "name: 2000 PEs, 1024 hardware tunnel IDs\nhardware:\n  defaultHwTunnelIds: 1024\ntunnels:\n")
foreach(i RANGE 1 2000)
  string(APPEND text "  pe${i}: { index: ${i} }\n")
endforeach()
string(APPEND text "steps:\n")
foreach(i RANGE 1 2000)
  string(APPEND text "  - addDest: { vlan: 10, mac: broadcast, mpls: { tunnel: pe${i}, label: 100 } }\n")
endforeach()
string(APPEND text "  - show: [pools, floodSets]\n  - expect:\n      tunnelCount: 1024\n      floodSetEntries: 1024\n")
file(WRITE "${scenario}" "${text}")
execute_process(COMMAND ${SIM} ${scenario} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "exit status ${status}; output:\n${out}${err}")
endif()
foreach(match "default +1024 +1024 +0 +exhausted"
              "976 PE\\(s\\) wait for a hardware tunnel ID; their flood-set entries do not forward: pe1025, pe1026"
              "pe2000 +100 +none +0x[0-9a-f]+ +no tunnel ID")
  if(NOT out MATCHES "${match}")
    message(FATAL_ERROR "output does not match '${match}'")
  endif()
endforeach()
