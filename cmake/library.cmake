# The library: one object library a room, all linked into libtavstoch.
# A fatal error leaves by longjmp, so the library compiles without exceptions: nothing may need unwinding.
set(TAVSTOCH_ROOMS frame model simplex prep barrier mip qpnet stoch decomp)
set(TAVSTOCH_OBJECTS "")
foreach(room ${TAVSTOCH_ROOMS})
  file(GLOB room_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${room}/*.cpp ${CMAKE_SOURCE_DIR}/${room}/sparse/*.cpp)
  if(room_sources)
    add_library(room_${room} OBJECT ${room_sources})
    target_include_directories(room_${room} PRIVATE ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include)
    target_compile_options(room_${room} PRIVATE -fno-exceptions -fno-rtti -fvisibility=hidden -fvisibility-inlines-hidden)
    target_compile_definitions(room_${room} PRIVATE QRT_BUILDING_LIBRARY=1)
    target_link_libraries(room_${room} PRIVATE tavstoch_warnings)
    list(APPEND TAVSTOCH_OBJECTS $<TARGET_OBJECTS:room_${room}>)
  endif()
endforeach()

if(TAVSTOCH_STATIC)
  add_library(tavstoch STATIC ${TAVSTOCH_OBJECTS})
  # A project in C alone does not know that the archive needs the C++ run time: CMake adds it only where C++ is enabled.
  target_link_libraries(tavstoch INTERFACE stdc++)
else()
  add_library(tavstoch SHARED ${TAVSTOCH_OBJECTS})
  # Hidden visibility does not reach instantiations of the standard library's templates; the map does.
  target_link_options(tavstoch PRIVATE -Wl,--version-script=${CMAKE_SOURCE_DIR}/cmake/exports.map)
  set_property(TARGET tavstoch APPEND PROPERTY LINK_DEPENDS ${CMAKE_SOURCE_DIR}/cmake/exports.map)
endif()
set_target_properties(tavstoch PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0 LINKER_LANGUAGE CXX)
target_include_directories(tavstoch PUBLIC $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(tavstoch PRIVATE m)
add_library(tavstoch::tavstoch ALIAS tavstoch)

# What the tests of inner parts link: every object, hidden names included.
add_library(tavstoch_inner STATIC EXCLUDE_FROM_ALL ${TAVSTOCH_OBJECTS})
set_target_properties(tavstoch_inner PROPERTIES LINKER_LANGUAGE CXX)
target_include_directories(tavstoch_inner PUBLIC ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include)
