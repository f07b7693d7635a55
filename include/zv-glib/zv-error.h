/* The framework's errors in the GError domain ZV_ERROR ("zv-error").
 *
 * Reading errors of streams and files are passed on as GIO gave them
 * (G_IO_ERROR, G_IO_ERROR_CANCELLED for a cancelled operation).
 */
#pragma once

#include <glib-object.h>

G_BEGIN_DECLS

/**
 * ZV_ERROR:
 *
 * The error domain of the framework's own failures; codes are #ZvError.
 */
#define ZV_ERROR (zv_error_quark ())

/**
 * ZvError:
 * @ZV_ERROR_FAILED: a failure with no code of its own
 * @ZV_ERROR_INVALID_ARGUMENT: an argument the operation cannot use, such as
 *   a pattern that does not compile
 * @ZV_ERROR_NOT_FOUND: what was asked for does not exist (a page, a resource)
 * @ZV_ERROR_LOAD_FAILED: a page or a resource could not be loaded
 *
 * Error codes of the #ZV_ERROR domain.
 */
typedef enum {
  ZV_ERROR_FAILED,
  ZV_ERROR_INVALID_ARGUMENT,
  ZV_ERROR_NOT_FOUND,
  ZV_ERROR_LOAD_FAILED,
} ZvError;

GQuark zv_error_quark (void);
GType zv_error_get_type (void) G_GNUC_CONST;
#define ZV_TYPE_ERROR (zv_error_get_type ())

G_END_DECLS
