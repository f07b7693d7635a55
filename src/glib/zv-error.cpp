#include "zv-private.h"

/**
 * zv_error_quark:
 *
 * The quark of the #ZV_ERROR domain.
 *
 * Returns: the quark of "zv-error"
 */
G_DEFINE_QUARK(zv-error, zv_error)

G_DEFINE_ENUM_TYPE(ZvError, zv_error,
                   G_DEFINE_ENUM_VALUE(ZV_ERROR_FAILED, "failed"),
                   G_DEFINE_ENUM_VALUE(ZV_ERROR_INVALID_ARGUMENT, "invalid-argument"),
                   G_DEFINE_ENUM_VALUE(ZV_ERROR_NOT_FOUND, "not-found"),
                   G_DEFINE_ENUM_VALUE(ZV_ERROR_LOAD_FAILED, "load-failed"))
