#include "Update/descriptor/Action.h"

int CAction::Parse(CFTreeRef, const CConstants*)
{
    return 1;
}

int CAction::DoAction(CGeneral*, CPListParse*)
{
    return 0;
}
