// The data access objects: Engine, Database, Recordset, Field. Semantics and error numbers are those of DAO.
#pragma once

#include "dao/connection.h"
#include "dao/database.h"
#include "dao/engine.h"
#include "dao/recordset.h"
