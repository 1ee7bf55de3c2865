# Fails if one of HEADERS mentions a library that only sources may use.
foreach(header IN LISTS HEADERS)
  file(STRINGS ${header} mentions REGEX
    "(^|[^A-Za-z_])(Q[A-Z][A-Za-z]+|Qt|spdlog|fmt|espeak|flite|sndfile|portaudio)([^A-Za-z]|$)")
  foreach(line IN LISTS mentions)
    message(SEND_ERROR "${header}: ${line}")
  endforeach()
endforeach()
