// References the classes that have a debugger view, so that the debug information describes them.

#include "zel/commands/CommandChain.h"
#include "zel/core/StringUtils.h"
#include "zel/data/DataTable.h"
#include "zel/data/DataTree.h"
#include "zel/foundation/EventSource.h"
#include "zel/foundation/Log.h"
#include "zel/foundation/MemOS.h"
#include "zel/persistence/BinaryUtils.h"
#include "zel/persistence/ObjectPersistence.h"
#include "zel/process/ProcessUtils.h"
#include "zel/variant/Variant.h"

namespace zel {

namespace {

struct ShownTypes {
    MemOS* memOS;
    DataTree* dataTree;
    DataTable* dataTable;
    DataRow* dataRow;
    EventSource<std::string>* stringSource;
    EventSource<TimerThread*>* timerSource;
    EventSinkList<std::string>* stringSinks;
    EventSinkList<TimerThread*>* timerSinks;
    LogArea* logArea;
    CommandChainEx* commandChainEx;
    BinaryUtilsEx* binaryUtilsEx;
    DataTableEx* dataTableEx;
    DataTreeEx* dataTreeEx;
    ObjectPersistence::PersistentObjectEx* persistentObjectEx;
    ObjectPersistence::VersionClashEx* versionClashEx;
    ProcessUtilsEx* processUtilsEx;
    StringUtilsEx* stringUtilsEx;
    VariantEx* variantEx;
};

template <class T>
struct ShownVariants {
    Variant<T>* scalar;
    Variant<std::vector<T>>* array;
};

[[gnu::used]] void Describe(ShownTypes) {}

#define ZEL_DESCRIBE(T, ...) \
    [[gnu::used]] void Describe(ShownVariants<T>) {}
ZEL_FOR_EACH_ELEMENT(ZEL_DESCRIBE)
#undef ZEL_DESCRIBE

}  // namespace

}  // namespace zel
