#include "CreateByName.h"

int main() {
    return createEveryTypeByName() == 0 ? 0 : 1;
}
