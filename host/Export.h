#pragma once

/// Import and export marks of the platform libraries. Each library defines its CORRIDOR_BUILD_... macro
/// when it is compiled; everybody else imports. The inspection data library comes in two: what is stored and
/// computed (INSPECTIONDATA_API), and the windows over it (INSPECTION_API). Elsewhere than on Windows the
/// marks only set the symbol visibility.

#if defined(_WIN32)
#define CORRIDOR_EXPORT __declspec(dllexport)
#define CORRIDOR_IMPORT __declspec(dllimport)
#else
#define CORRIDOR_EXPORT __attribute__((visibility("default")))
#define CORRIDOR_IMPORT __attribute__((visibility("default")))
#endif

/// Commands and tools (workbench/engine).
#ifdef CORRIDOR_BUILD_ENGINE
#define ENGINE_API CORRIDOR_EXPORT
#else
#define ENGINE_API CORRIDOR_IMPORT
#endif

/// Handlers of the viewer's events, and the message bus (workbench/viewmanager).
#ifdef CORRIDOR_BUILD_VIEWMANAGER
#define VIEWMANAGER_API CORRIDOR_EXPORT
#else
#define VIEWMANAGER_API CORRIDOR_IMPORT
#endif

/// The globe as a widget (workbench/viewer).
#ifdef CORRIDOR_BUILD_VIEWER
#define VIEWER_API CORRIDOR_EXPORT
#else
#define VIEWER_API CORRIDOR_IMPORT
#endif

/// Project, database and computation, without windows (workbench/inspectiondata).
#ifdef CORRIDOR_BUILD_INSPECTIONDATA
#define INSPECTIONDATA_API CORRIDOR_EXPORT
#else
#define INSPECTIONDATA_API CORRIDOR_IMPORT
#endif

/// The windows over that data, and what ties them together (workbench/inspection).
#ifdef CORRIDOR_BUILD_INSPECTION
#define INSPECTION_API CORRIDOR_EXPORT
#else
#define INSPECTION_API CORRIDOR_IMPORT
#endif

/// Frameless windows and the message box (workbench/style).
#ifdef CORRIDOR_BUILD_STYLE
#define STYLE_API CORRIDOR_EXPORT
#else
#define STYLE_API CORRIDOR_IMPORT
#endif
