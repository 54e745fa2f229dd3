# ZOLVEX_PRECOMPILE: what most files include is parsed once, not in each of them. It pays where everything is built from
# nothing with clang; a compiler cache cannot see into it, so the development presets go without.
option(ZOLVEX_PRECOMPILE "Precompile the headers that most files include (clang only)" OFF)
if(ZOLVEX_PRECOMPILE)
  add_compile_options(-fPIC)  # programs too: with -fPIE they would need their own
endif()

set(ZOLVEX_PRECOMPILED_HEADERS
  <algorithm> <array> <atomic> <chrono> <functional> <map> <memory> <mutex> <optional> <string> <string_view> <thread>
  <utility> <vector> <fmt/core.h>)
set(ZOLVEX_PRECOMPILED_LIBRARIES fmt::fmt Threads::Threads)
if(NOT ZOLVEX_CORE_ONLY)
  list(APPEND ZOLVEX_PRECOMPILED_HEADERS
    <QCoreApplication> <QDBusConnection> <QDBusMessage> <QDBusPendingCallWatcher> <QDBusPendingReply> <QDir> <QFile>
    <QObject> <QString> <QTimer> <QVariant>)
  list(APPEND ZOLVEX_PRECOMPILED_LIBRARIES Qt6::Core Qt6::DBus)
endif()

# zolvex_use_precompiled(TARGET [HEADERS header...] [USES library...] AS name)
# TARGET takes the precompiled headers, and those given too; who gives the same name shares them.
function(zolvex_use_precompiled target)
  cmake_parse_arguments(ARG "" "AS" "HEADERS;USES" ${ARGN})
  if(NOT ZOLVEX_PRECOMPILE)
    return()
  endif()
  set(provider zolvex-precompiled-${ARG_AS})
  if(NOT TARGET ${provider})
    set(source ${PROJECT_BINARY_DIR}/${provider}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "")
    add_library(${provider} STATIC ${source})
    target_compile_features(${provider} PRIVATE cxx_std_20)
    target_compile_definitions(${provider} PRIVATE QT_NO_VERSION_TAGGING)  # not everybody links Qt
    target_link_libraries(${provider} PRIVATE ${ZOLVEX_PRECOMPILED_LIBRARIES} ${ARG_USES})
    target_precompile_headers(${provider} PRIVATE ${ZOLVEX_PRECOMPILED_HEADERS} ${ARG_HEADERS})
  endif()
  target_precompile_headers(${target} REUSE_FROM ${provider})
endfunction()
