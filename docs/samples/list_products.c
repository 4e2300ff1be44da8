/* Lists every product that the catalogues beside prodrm.dll name.
 *
 *     i686-w64-mingw32-gcc list_products.c -o list_products.exe -I. -L. -lprodrm -loleaut32
 */
#include <prodrm.h>

#include <oleauto.h>
#include <stdio.h>

int main(void) {
    SAFEARRAY* products = NULL;
    if (!GetProducts(&products, PRODRM_FAMILY | PRODRM_FOREIGN)) {
        fputs("the catalogues cannot be read\n", stderr);
        return 1;
    }

    /* The host owns the array and its texts. The array does not free them with itself. */
    ProductEntry* const entries = products->pvData;
    const ULONG count = products->rgsabound[0].cElements;
    for (ULONG index = 0; index < count; ++index) {
        printf("%-8s %ls\n", entries[index].type == UNINSTALL_TYPE_FAMILY ? "family" : "foreign", entries[index].name);
        SysFreeString(entries[index].name);
        SysFreeString(entries[index].file);
    }
    SafeArrayDestroy(products);
    return 0;
}
