# Fails when a public header is missing from the umbrella header klav.h.
file(GLOB headers RELATIVE ${INCLUDE_DIR} ${INCLUDE_DIR}/*.h)
file(READ ${INCLUDE_DIR}/klav.h umbrella)
foreach(h ${headers})
  if(NOT h STREQUAL "klav.h" AND NOT umbrella MATCHES "#include \"${h}\"")
    message(FATAL_ERROR "klav.h does not include ${h}")
  endif()
endforeach()
