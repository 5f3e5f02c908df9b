#include "hosts/tavro/store/store.h"

namespace tavro {

namespace {

struct CatalogueClass {
    const char* name;
    const char* super;
    const char* classType;  // "datatype", "persistent", "serial", "stream" or "" (inherits)
    bool abstract;
    const char* clientDataType;
    const char* odbcType;
    const char* parameters;  // class parameters, ','-separated NAME=default
    const char* description;
};

// The server's own classes. Datatype classes carry the class parameters that properties of
// their type may set; object classes are the roots user classes extend.
const CatalogueClass kCatalogue[] = {
    {"%Library.DataType", "", "datatype", true, "", "", "", "Root of the datatype classes."},
    {"%Library.Binary", "%Library.DataType", "datatype", false, "BINARY", "BINARY",
     "MAXLEN=50,MINLEN", "Binary data."},
    {"%Library.Boolean", "%Library.DataType", "datatype", false, "BOOLEAN", "INTEGER",
     "DISPLAYLIST,VALUELIST", "A true or false value, stored as 1 or 0."},
    {"%Library.Currency", "%Library.DataType", "datatype", false, "CURRENCY", "CURRENCY",
     "DISPLAYLIST,FORMAT,MAXVAL,MINVAL,SCALE=4,VALUELIST",
     "A currency value with four decimal places."},
    {"%Library.Date", "%Library.DataType", "datatype", false, "DATE", "DATE",
     "DISPLAYLIST,FORMAT,MAXVAL,MINVAL,VALUELIST", "A date, counted in days."},
    {"%Library.Time", "%Library.DataType", "datatype", false, "TIME", "TIME",
     "DISPLAYLIST,FORMAT,MAXVAL,MINVAL,VALUELIST", "A time of day, counted in seconds."},
    {"%Library.TimeStamp", "%Library.DataType", "datatype", false, "TIMESTAMP", "TIMESTAMP",
     "DISPLAYLIST,MAXVAL,MINVAL,VALUELIST", "A date and time as YYYY-MM-DD HH:MM:SS."},
    {"%Library.Float", "%Library.DataType", "datatype", false, "DOUBLE", "DOUBLE",
     "DISPLAYLIST,FORMAT,MAXVAL,MINVAL,SCALE,VALUELIST", "A floating point number."},
    {"%Library.Double", "%Library.DataType", "datatype", false, "DOUBLE", "DOUBLE",
     "DISPLAYLIST,FORMAT,MAXVAL,MINVAL,SCALE,VALUELIST",
     "A double precision floating point number."},
    {"%Library.Numeric", "%Library.DataType", "datatype", false, "NUMERIC", "NUMERIC",
     "DISPLAYLIST,FORMAT,MAXVAL,MINVAL,SCALE=2,VALUELIST", "A fixed point number."},
    {"%Library.Integer", "%Library.DataType", "datatype", false, "INTEGER", "INTEGER",
     "DISPLAYLIST,FORMAT,MAXVAL,MINVAL,VALUELIST", "An integer."},
    {"%Library.BigInt", "%Library.Integer", "datatype", false, "BIGINT", "BIGINT",
     "DISPLAYLIST,FORMAT,MAXVAL,MINVAL,VALUELIST", "A 64-bit integer."},
    {"%Library.SmallInt", "%Library.Integer", "datatype", false, "INTEGER", "SMALLINT",
     "DISPLAYLIST,FORMAT,MAXVAL=32767,MINVAL=-32768,VALUELIST", "A 16-bit integer."},
    {"%Library.TinyInt", "%Library.Integer", "datatype", false, "INTEGER", "TINYINT",
     "DISPLAYLIST,FORMAT,MAXVAL=127,MINVAL=-128,VALUELIST", "An 8-bit integer."},
    {"%Library.String", "%Library.DataType", "datatype", false, "VARCHAR", "VARCHAR",
     "COLLATION,DISPLAYLIST,MAXLEN=50,MINLEN,PATTERN,TRUNCATE=0,VALUELIST",
     "A string of characters."},
    {"%Library.Name", "%Library.String", "datatype", false, "VARCHAR", "VARCHAR",
     "COLLATION,MAXLEN=25", "A person's name as Surname,Given."},
    {"%Library.Status", "%Library.DataType", "datatype", false, "VARCHAR", "VARCHAR", "",
     "The status a method returns."},
    {"%Library.List", "%Library.DataType", "datatype", false, "LIST", "VARCHAR", "ODBCDELIMITER",
     "A list value in the server's own encoding."},
    {"%Library.SystemBase", "", "", true, "", "", "", "Members every object class has."},
    {"%Library.RegisteredObject", "%Library.SystemBase", "", true, "", "", "",
     "An object that lives in memory only."},
    {"%Library.Persistent", "%Library.RegisteredObject", "persistent", true, "", "", "",
     "An object stored in the database with an id of its own."},
    {"%Library.SerialObject", "%Library.RegisteredObject", "serial", true, "", "", "",
     "An object stored inside the object that holds it."},
    {"%Library.AbstractStream", "%Library.RegisteredObject", "stream", true, "", "", "",
     "Root of the stream classes."},
    {"%Library.Stream", "%Library.AbstractStream", "stream", true, "", "", "",
     "A stream of characters or bytes."},
    {"%Library.GlobalCharacterStream", "%Library.Stream", "stream", false, "CHARACTERSTREAM",
     "LONGVARCHAR", "", "A character stream kept in the database."},
    {"%Library.GlobalBinaryStream", "%Library.Stream", "stream", false, "BINARYSTREAM",
     "LONGVARBINARY", "", "A binary stream kept in the database."},
    {"%Library.FileCharacterStream", "%Library.Stream", "stream", false, "CHARACTERSTREAM",
     "LONGVARCHAR", "", "A character stream kept in a file."},
    {"%Library.FileBinaryStream", "%Library.Stream", "stream", false, "BINARYSTREAM",
     "LONGVARBINARY", "", "A binary stream kept in a file."},
    {"%Library.ListOfDataTypes", "%Library.SerialObject", "", false, "", "", "ELEMENTTYPE=%String",
     "A list of datatype values."},
    {"%Library.ArrayOfDataTypes", "%Library.SerialObject", "", false, "", "", "ELEMENTTYPE=%String",
     "An array of datatype values, keyed."},
    {"%Library.ListOfObjects", "%Library.SerialObject", "", false, "", "",
     "ELEMENTTYPE=%RegisteredObject", "A list of object references."},
    {"%Library.ArrayOfObjects", "%Library.SerialObject", "", false, "", "",
     "ELEMENTTYPE=%RegisteredObject", "An array of object references, keyed."},
    {"%Library.RelationshipObject", "%Library.RegisteredObject", "", false, "", "", "",
     "The objects on the many side of a relationship."},
    {"%Library.ResultSet", "%Library.RegisteredObject", "", false, "", "", "",
     "The rows of a class query."},
    {"%Library.Query", "", "", true, "", "", "", "Root of the class query types."},
    {"%Library.SQLQuery", "%Library.Query", "", false, "", "", "", "A class query written in SQL."},
    {"%Library.Populate", "", "", true, "", "", "", "Fills a persistent class with test data."},
    {"%Dictionary.ClassDefinition", "%Library.Persistent", "persistent", false, "", "", "",
     "The definition of a class."},
    {"%Dictionary.PropertyDefinition", "%Library.Persistent", "persistent", false, "", "", "",
     "The definition of a property of a class."},
    {"%Dictionary.MethodDefinition", "%Library.Persistent", "persistent", false, "", "", "",
     "The definition of a method of a class."},
    {"%Dictionary.IndexDefinition", "%Library.Persistent", "persistent", false, "", "", "",
     "The definition of an index of a class."},
    {"%Dictionary.QueryDefinition", "%Library.Persistent", "persistent", false, "", "", "",
     "The definition of a class query."},
    {"%Dictionary.ParameterDefinition", "%Library.Persistent", "persistent", false, "", "", "",
     "The definition of a class parameter."},
    {"%Dictionary.StorageDefinition", "%Library.Persistent", "persistent", false, "", "", "",
     "The storage definition of a class."},
    {"%Dictionary.XDataDefinition", "%Library.Persistent", "persistent", false, "", "", "",
     "A named block of data kept with a class."},
    {"%Dictionary.TriggerDefinition", "%Library.Persistent", "persistent", false, "", "", "",
     "The definition of an SQL trigger of a class."},
    {"%Dictionary.ProjectionDefinition", "%Library.Persistent", "persistent", false, "", "", "",
     "The definition of a projection of a class."},
    {"%Dictionary.CorvansilUtility", "%Library.RegisteredObject", "", false, "", "", "",
     "Converts class definitions to and from XML and answers questions about the server."},
};

// The dictionary classes describe their own kind of definition: one property per keyword.
struct DictionaryClass {
    const char* name;
    ItemKind kind;
};

const DictionaryClass kDictionaryClasses[] = {
    {"%Dictionary.ClassDefinition", ItemKind::Class},
    {"%Dictionary.PropertyDefinition", ItemKind::Property},
    {"%Dictionary.MethodDefinition", ItemKind::Method},
    {"%Dictionary.IndexDefinition", ItemKind::Index},
    {"%Dictionary.QueryDefinition", ItemKind::Query},
    {"%Dictionary.ParameterDefinition", ItemKind::ClassParameter},
    {"%Dictionary.StorageDefinition", ItemKind::Storage},
    {"%Dictionary.XDataDefinition", ItemKind::XData},
    {"%Dictionary.TriggerDefinition", ItemKind::Trigger},
    {"%Dictionary.ProjectionDefinition", ItemKind::Projection},
};

void Set(Values& values, ItemKind kind, std::string_view name, std::string_view text) {
    SetValue(values, *FindKeyword(kind, name), text);
}

Item NamedItem(ItemKind kind, std::string name) {
    Item item;
    item.kind = kind;
    item.name = std::move(name);
    return item;
}

void AddClassParameters(ClassDef& def, std::string_view list) {
    while (!list.empty()) {
        std::string_view entry = list.substr(0, list.find(','));
        list.remove_prefix(std::min(list.size(), entry.size() + 1));
        Item parameter =
            NamedItem(ItemKind::ClassParameter, std::string(entry.substr(0, entry.find('='))));
        if (entry.find('=') != std::string_view::npos) {
            Set(parameter.values, ItemKind::ClassParameter, "Default",
                entry.substr(entry.find('=') + 1));
        }
        def.others.push_back(std::move(parameter));
    }
}

void AddDatatypeMethods(ClassDef& def) {
    for (const char* name : {"IsValid", "LogicalToDisplay", "DisplayToLogical"}) {
        Item method = NamedItem(ItemKind::Method, name);
        Set(method.values, ItemKind::Method, "ClassMethod", "1");
        Set(method.values, ItemKind::Method, "CodeMode", "generator");
        Set(method.values, ItemKind::Method, "FormalSpec", "%val:%RawString");
        Set(method.values, ItemKind::Method, "ReturnType",
            std::string(name) == "IsValid" ? "%Status" : "%String");
        def.methods.push_back(std::move(method));
    }
}

void AddKeywordProperties(ClassDef& def, ItemKind kind) {
    def.properties.push_back(NamedItem(ItemKind::Property, "Name"));
    Set(def.properties.back().values, ItemKind::Property, "Type", "%String");
    Set(def.properties.back().values, ItemKind::Property, "Required", "1");
    for (const Keyword& keyword : KeywordsOf(kind)) {
        if (!IsValidMemberName(keyword.name) || keyword.name == "Name") continue;
        Item property = NamedItem(ItemKind::Property, std::string(keyword.name));
        if (std::string_view(keyword.name) == "super") property.name = "Super";
        Set(property.values, ItemKind::Property, "Type",
            keyword.kind == ValueKind::Bool ? "%Boolean" : "%String");
        if (!keyword.initial.empty())
            Set(property.values, ItemKind::Property, "InitialExpression", keyword.initial);
        def.properties.push_back(std::move(property));
    }
}

void AddSummaryQuery(ClassDef& def) {
    Item query = NamedItem(ItemKind::Query, "Summary");
    Set(query.values, ItemKind::Query, "Type", "%Library.SQLQuery");
    Set(query.values, ItemKind::Query, "SqlProc", "1");
    Set(query.values, ItemKind::Query, "SqlQuery",
        "SELECT Name, Super, Hidden, Datatype, System, Final, Persistent, Serial, TimeChanged, "
        "SqlTableName FROM %Dictionary.ClassDefinition ORDER BY Name");
    def.others.push_back(std::move(query));
}

}  // namespace

std::vector<ClassDef> SystemCatalogue() {
    std::vector<ClassDef> classes;
    for (const CatalogueClass& entry : kCatalogue) {
        ClassDef def;
        def.name = entry.name;
        Set(def.values, ItemKind::Class, "Description", entry.description);
        Set(def.values, ItemKind::Class, "super", entry.super);
        Set(def.values, ItemKind::Class, "ClassType", entry.classType);
        Set(def.values, ItemKind::Class, "Abstract", entry.abstract ? "1" : "0");
        Set(def.values, ItemKind::Class, "Final", "0");
        if (*entry.clientDataType)
            Set(def.values, ItemKind::Class, "ClientDataType", entry.clientDataType);
        if (*entry.odbcType) Set(def.values, ItemKind::Class, "OdbcType", entry.odbcType);
        AddClassParameters(def, entry.parameters);
        if (std::string_view(entry.classType) == "datatype" && !entry.abstract)
            AddDatatypeMethods(def);
        for (const DictionaryClass& dictionary : kDictionaryClasses) {
            if (def.name == dictionary.name) AddKeywordProperties(def, dictionary.kind);
        }
        if (def.name == "%Dictionary.ClassDefinition") AddSummaryQuery(def);
        if (std::string_view(entry.classType) == "persistent" && !entry.abstract) {
            Item storage = NamedItem(ItemKind::Storage, "Default");
            Set(storage.values, ItemKind::Storage, "Type", "%Library.ObjectStorage");
            def.others.push_back(std::move(storage));
        }
        classes.push_back(std::move(def));
    }
    return classes;
}

}  // namespace tavro
