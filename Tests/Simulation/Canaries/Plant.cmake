# Copies a source file with a fault planted in it. Fails when the place is not found exactly once.
#
# Usage: cmake -DCANARY=FILE -DINPUT=FILE -DOUTPUT=FILE -P Plant.cmake
# The canary's file sets OLD and NEW.
include(${CANARY})
file(READ ${INPUT} text)
string(FIND "${text}" "${OLD}" first)
string(FIND "${text}" "${OLD}" last REVERSE)
if(first EQUAL -1 OR NOT first EQUAL last)
    message(FATAL_ERROR "${CANARY}: the place for the fault is not in ${INPUT} exactly once; "
        "the source has changed, so change the canary with it")
endif()
string(REPLACE "${OLD}" "${NEW}" text "${text}")
file(WRITE ${OUTPUT} "${text}")
