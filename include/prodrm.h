/* prodrm: the boundary of the product-removal library as a host sees it, for C and C++.
 *
 * The library is a 32-bit DLL. Its eight exports are __cdecl and undecorated: arguments on the stack in the order
 * shown, removed by the caller. Exports run on the caller's thread, one at a time; GetProgressPercent alone may be
 * called from a second thread while another export runs.
 *
 * Every export that loads a catalogue initialises COM for itself. On a thread that the host had initialised before as a
 * single-threaded apartment, that is not balanced: the apartment's count stays one higher for each call.
 *
 * Arrays are SAFEARRAYs of one dimension with lower bound 0. Their descriptors are filled by hand: the features word is
 * 0, so that SafeArrayDestroy frees no BSTR and no inner array. The host owns every array, every BSTR and every inner
 * array that it receives, and frees them from the inside out.
 */
#ifndef PRODRM_H
#define PRODRM_H

#include <windows.h>
#include <oaidl.h>

#include <stddef.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Selects a catalogue beside the library. */
enum UninstallType {
    UNINSTALL_TYPE_FAMILY = 1, /* products.xml, scripts in the folder "intern" */
    UNINSTALL_TYPE_FOREIGN = 2 /* detection.xml, scripts in the folder "extern" */
};

/* Bits of the flags argument; all others are ignored. Together they list the family first. */
#define PRODRM_FAMILY 1u
#define PRODRM_FOREIGN 2u

/* What the library cannot go on from ends the call in a system exception with this code; no export returns an error for
 * it. Its one argument is an HRESULT: E_OUTOFMEMORY, PRODRM_E_DOCUMENT for an embedded document that cannot be
 * deciphered, or E_UNEXPECTED. Everything that the call held is freed by then, but for an array that a listing had
 * begun. LoadLibrary can end in it too. */
#define PRODRM_EXCEPTION 0xE0505244u
#define PRODRM_E_DOCUMENT ((HRESULT)0x80070459)

/* One product. Element of the arrays, and the argument of UninstallProduct. */
typedef struct ProductEntry {
    BSTR name;        /* name in the catalogue; on input to the uninstall exports: the product to remove */
    BSTR file;        /* full path of the product's script; output only */
    ULONG type;       /* an UninstallType */
    SAFEARRAY* guids; /* versions found, see GetInstalledProducts; null from GetProducts; output only */
    LONG force;       /* input only: not 0 asks for removal whether or not the product is installed; 0 on output */
} ProductEntry;

/* One version found, in the extended form: element (8 bytes) of ProductEntry.guids. */
typedef struct VersionEntry {
    BSTR key;          /* name of the version's registry key */
    SAFEARRAY* params; /* array of ParamEntry, sorted by name; of 0 elements for a version without parameters */
} VersionEntry;

/* One parameter of a version: element (8 bytes) of VersionEntry.params. */
typedef struct ParamEntry {
    BSTR name;
    SAFEARRAY* values; /* array of BSTR, in the order of the catalogue */
} ParamEntry;

/* What a notification reports on: its first argument. */
enum OperationKind {
    OPERATION_CATALOGUE = 0, /* a catalogue was read, or a script lacks its root element */
    OPERATION_SCRIPT = 1,    /* a product's script was processed */
    OPERATION_DEL_FILE = 2,  /* 2 to 12: an element (status) or a kind of operations (result) ended */
    OPERATION_DEL_FOLDER = 3,
    OPERATION_DEL_SHORTCUT = 4,
    OPERATION_DEL_REGKEY = 5,
    OPERATION_DEL_REGVALUE = 6,
    OPERATION_EXEC_TOOL = 7,
    OPERATION_KILL_PROCESS = 8,
    OPERATION_DISABLE_DRIVER = 9,
    OPERATION_DISABLE_SERVICE = 10,
    OPERATION_DISABLEANDSTOP_DRIVER = 11,
    OPERATION_DISABLEANDSTOP_SERVICE = 12,
    OPERATION_PRODUCT_BEGINS = 13, /* value: pointer to the product's name, wide text, valid during the call */
    OPERATION_PRODUCT_BEGUN = 14   /* directly after 13 */
};

/* Results of OPERATION_CATALOGUE and OPERATION_SCRIPT. The kinds 2 to 12 report 0 for success and 2 for failure. */
enum NotifyStatus {
    NOTIFY_SUCCESS = 0,
    NOTIFY_NOT_LOADED = 1, /* the file or text did not load */
    NOTIFY_FAILED = 2,     /* bad content, or processing failed */
    NOTIFY_NO_ENGINE = 3   /* the XML engine could not be created */
};

/* Host function that hears of progress; may be null wherever it is an argument. It runs on the thread of the export,
 * which waits for it. `value` is 0 but for OPERATION_CATALOGUE with NOTIFY_SUCCESS (the number of products in the
 * catalogue) and OPERATION_PRODUCT_BEGINS. */
typedef void(__cdecl* NotifyCallback)(LONG event, LONG result, LONG_PTR value);

/* The three listing exports. `products` receives an array of ProductEntry and must not be null; `flags` is made of
 * PRODRM_FAMILY and PRODRM_FOREIGN. False if a catalogue did not load, which leaves `products` as it was, or if the
 * array could not be made, which may leave a pointer there that is not to be used. */

/* All products of the catalogues. */
bool __cdecl GetProducts(SAFEARRAY** products, ULONG flags);

/* The products that are installed. `guids` is an array of BSTR (4 bytes an element): the name of the registry key of
 * each version found, in catalogue order; null for a product known by its detection script alone. */
bool __cdecl GetInstalledProducts(SAFEARRAY** products, ULONG flags);

/* The same with `guids` as an array of VersionEntry: of several versions with one key the first. */
bool __cdecl GetInstalledProductsEx(SAFEARRAY** products, ULONG flags);

/* The four removing exports. Each loads the catalogue it needs, removes the products one after the other and goes on
 * after a product that failed. `restartRequired` must not be null: it receives whether a restart is needed to finish,
 * and stays untouched when the catalogue did not load or the type is none, or when a product is asked for without
 * `force` while nothing of the catalogue is installed. `notify` may be null.
 * True if every product that was tried could be processed; how the single operations went is told to `notify` alone. */

/* Removes the products of an array of ProductEntry; reads `name`, `type` and `force`. A name that is not installed, or
 * not in the catalogue, is passed over. One call serves one catalogue: with entries of both types those of the family
 * are removed and the call answers false. `restartRequired` always receives false. */
bool __cdecl UninstallProducts(SAFEARRAY* products, bool* restartRequired, NotifyCallback notify);

/* Removes one product; reads `name`, `type` and `force`. */
bool __cdecl UninstallProduct(const ProductEntry* product, bool* restartRequired, NotifyCallback notify);

/* Removes every product of a catalogue (an UninstallType), installed or not. */
bool __cdecl UninstallForceAll(LONG type, bool* restartRequired, NotifyCallback notify);

/* Removes every installed product of a catalogue (an UninstallType). A single one takes all the others with it. */
bool __cdecl UninstallAllInstalled(LONG type, bool* restartRequired, NotifyCallback notify);

/* How far the removal of the product at hand has come, in percent: 0 to 30 while its script is read, then up to 100;
 * with services to stop or registry keys to search it passes 100. Falls back to 0 with each product, keeps its last
 * value after a removal, and is 0 before the first. */
LONG __cdecl GetProgressPercent(void);

#ifdef __cplusplus
} /* extern "C" */

static_assert(sizeof(ProductEntry) == 20, "ProductEntry is 20 bytes: the library is for 32-bit hosts");
static_assert(offsetof(ProductEntry, name) == 0 && offsetof(ProductEntry, file) == 4, "layout of ProductEntry");
static_assert(offsetof(ProductEntry, type) == 8 && offsetof(ProductEntry, guids) == 12, "layout of ProductEntry");
static_assert(offsetof(ProductEntry, force) == 16, "layout of ProductEntry");
static_assert(sizeof(VersionEntry) == 8 && offsetof(VersionEntry, params) == 4, "layout of VersionEntry");
static_assert(sizeof(ParamEntry) == 8 && offsetof(ParamEntry, values) == 4, "layout of ParamEntry");
#else
_Static_assert(sizeof(ProductEntry) == 20, "ProductEntry is 20 bytes: the library is for 32-bit hosts");
_Static_assert(offsetof(ProductEntry, force) == 16, "layout of ProductEntry");
_Static_assert(sizeof(VersionEntry) == 8 && sizeof(ParamEntry) == 8, "layout of VersionEntry and ParamEntry");
#endif

#endif /* PRODRM_H */
