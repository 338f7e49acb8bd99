// The sample questions on the C language and databases.

#include "host/samples/sample_rows.h"

namespace qmtrain::host {
namespace {

constexpr ChoiceQuestion kSingle[] = {
    {u"一个 C 语言程序总是从（　　）开始执行。",
     {u"程序中的第一个函数", u"main 函数", u"程序中的第一条语句", u"第一个头文件"},
     u"B",
     1},
    {u"下列选项中，合法的 C 语言标识符是（　　）。", {u"2abc", u"for", u"_sum1", u"a-b"}, u"C", 1},
    {u"设有 int a = 7, b = 2; 则表达式 a / b 的值是（　　）。", {u"3", u"3.5", u"4", u"1"}, u"A", 1},
    {uR"(下面程序的运行结果是（　　）。
{\f1 #include <stdio.h>
int main(void)
\{
    int i, s = 0;  /* 累加和 */
    for (i = 1; i <= 5; i++)
        s += i;
    printf("%d\\n", s);
    return 0;
\}})",
     {u"5", u"10", u"15", u"21"},
     u"C",
     2,
     Stem::Rtf},
    {u"设有 int a[10]; 则数组 a 的下标范围是（　　）。", {u"1～10", u"1～9", u"0～10", u"0～9"}, u"D", 1},
    {u"设有 int x = 5, *p = &x; 则与 x 等价的表达式是（　　）。", {u"p", u"*p", u"&p", u"&x"}, u"B", 2},
    {uR"(在 C 语言中，{\b 没有返回值}的函数应说明为（　　）类型。)",
     {u"void", u"int", u"null", u"static"},
     u"A",
     1,
     Stem::Rtf},
    {u"表达式 3 > 2 && 0 || 5 的值是（　　）。", {u"0", u"1", u"3", u"5"}, u"B", 2},
    {uR"(下面程序段的运行结果是（　　）。
{\f1 int n = 10, k = 0;
while (n > 1)
\{
    n /= 2;  /* 整除 */
    k++;
\}
printf("%d", k);})",
     {u"5", u"4", u"2", u"3"},
     u"D",
     3,
     Stem::RtfBytes},
    {u"函数调用 strlen(\"abc\\0de\") 的值是（　　）。", {u"7", u"6", u"3", u"5"}, u"C", 3},
    {u"在关系数据库中，表的一行称为一个（　　）。", {u"字段", u"关系", u"记录", u"域"}, u"C", 1},
    {u"在关系表中，用来唯一标识每一条记录的字段或字段组合称为（　　）。",
     {u"主键", u"外键", u"索引", u"视图"},
     u"A",
     1},
    {u"在 SQL 的 SELECT 语句中，用来对结果分组的子句是（　　）。",
     {u"ORDER BY", u"WHERE", u"HAVING", u"GROUP BY"},
     u"D",
     2},
    {u"从两个关系中选取满足给定条件的元组对，组成一个新的关系，这种运算称为（　　）。",
     {u"投影", u"连接", u"选择", u"除"},
     u"B",
     2},
    {u"一个学生可以选修多门课程，一门课程可以由多个学生选修，学生与课程之间的联系是（　　）。",
     {u"一对一", u"一对多", u"多对一", u"多对多"},
     u"D",
     1},
    {u"数据库事务的原子性是指（　　）。",
     {u"事务中的操作要么全部完成，要么全部不做", u"事务提交后，结果永久保存", u"并发执行的事务互不干扰",
      u"一个事务只能包含一条语句"},
     u"A",
     3},
};

constexpr ChoiceQuestion kMultiple[] = {
    {u"下列语句中，属于 C 语言循环语句的有（　　）。", {u"while", u"do-while", u"if", u"for"}, u"ABD", 1},
    {u"下列关键字中，用来说明 C 语言基本数据类型的有（　　）。", {u"int", u"string", u"char", u"double"}, u"ACD", 1},
    {u"设有 int a[5], *p = a; 下列表达式中，表示数组元素 a[2] 的有（　　）。",
     {u"*(a + 2)", u"p[2]", u"*(p + 2)", u"a + 2"},
     u"ABC",
     3},
    {u"下列 SQL 语句中，用来改变表中数据的有（　　）。", {u"CREATE TABLE", u"INSERT", u"DELETE", u"UPDATE"}, u"BCD", 2},
    {u"下列各项中，属于 SQL 聚合函数的有（　　）。", {u"COUNT", u"ORDER", u"WHERE", u"SUM"}, u"AD", 1},
    {uR"(下列关于 C 语言函数的叙述中，{\ul 正确}的有（　　）。)",
     {u"函数可以嵌套调用", u"函数可以嵌套定义", u"函数可以递归调用", u"函数可以没有参数"},
     u"ACD",
     2,
     Stem::Rtf},
};

constexpr YesNoRow kYesNo[] = {
    {u"C 语言的标识符区分大小写字母。", true, 1},
    {u"在 C 语言中，表达式 a = b 与表达式 a == b 的作用相同。", false, 1},
    {u"break 语句可以用在 switch 语句和循环语句中。", true, 2},
    {u"字符串常量 \"A\" 在内存中占 1 个字节。", false, 3},
    {u"主键字段的值不允许重复，也不允许为空。", true, 1},
    {uR"(执行 SQL 的 {\b DELETE} 语句，会把表的结构一起删除。)", false, 2, Stem::Rtf},
    {u"一个表可以有多个主键。", false, 2},
    {u"数组名作函数的实参时，传递给形参的是数组的首地址。", true, 3},
};

constexpr FillRow kFill[] = {
    {u"表达式 17 % 5 的值是【1】，表达式 17 / 5 的值是【2】。", u"2@3", u"3@3.4", 1},
    {uR"(下面的函数返回两个整数中较大的一个，请填空。
{\f1 int max(int a, int b)
\{
    if (【1】)
        return a;
    return 【2】;
\}})",
     u"a > b#a>b#b < a#b<a#a >= b#a>=b#b <= a#b<=a@b#(b)", u"a < b@a", 2, Stem::Rtf},
    {u"在 C 语言中，字符串以空字符结束，用转义字符写作【1】。", u"\\0#'\\0'", u"\\n", 2},
    {u"SQL 的查询语句以关键字【1】开头，用来对结果排序的子句是【2】。", u"SELECT@ORDER BY", u"FIND@SORT BY", 1},
    {u"设有 int a[3][4]; 则数组 a 共有【1】个元素，其中最后一个元素是【2】。", u"12@a[2][3]", u"7@a[3][4]", 2},
    {u"数据库管理系统的英文缩写是【1】。", u"DBMS", u"DBS", 1},
};

constexpr OperationRow kOperation[] = {
    {u"编写函数 int sum(int a[], int n)，用 for 语句求数组 a 前 n 个元素的和，并作为函数值返回。",
     u"1. 函数头为 int sum(int a[], int n)；\n"
     u"2. 用 for 语句累加各元素；\n"
     u"3. 用 return 语句返回和。",
     u"int sum#for#return",
     u"int sum(int a[], int n)\n"
     u"{\n"
     u"    int i, s = 0;\n"
     u"    for (i = 0; i < n; i++) s += a[i];\n"
     u"    return s;\n"
     u"}",
     1, 1},
    {uR"(下面的程序输入两个整数，输出它们的平均值，其中有{\b 三处错误}。请写出改正后的三条语句（除数写成实数 2.0，用 %f 输出）。
{\f1 #include <stdio.h>
int main(void)
\{
    int a, b;
    double v;
    scanf("%d%d", a, b);     /* 输入 */
    v = (a + b) / 2;         /* 平均值 */
    printf("%d\\n", v);       /* 输出 */
    return 0;
\}})",
     u"1. scanf 的参数应为变量的地址 &a 和 &b；\n"
     u"2. 除数应为实数 2.0，避免整除；\n"
     u"3. 输出实数应用格式 %f。",
     u"&a#&b#2.0#%f",
     u"scanf(\"%d%d\", &a, &b);\n"
     u"v = (a + b) / 2.0;\n"
     u"printf(\"%f\\n\", v);",
     2, 2, Stem::Rtf},
    {u"用 SQL 语句完成下列操作：\n"
     u"1. 建立学生表 Student，含学号 Sno（8 位字符，主键）、姓名 Sname（20 位字符）和年龄 Age（整数）；\n"
     u"2. 在表中插入一条记录：学号 20250001，姓名 李明，年龄 19。",
     u"1. 用 CREATE TABLE 语句建立 Student 表，并用 PRIMARY KEY 说明主键 Sno；\n"
     u"2. 用 INSERT INTO … VALUES 语句插入记录。",
     u"CREATE TABLE#PRIMARY KEY#INSERT INTO#VALUES",
     u"CREATE TABLE Student\n"
     u"    (Sno CHAR(8) PRIMARY KEY, Sname CHAR(20), Age INT);\n"
     u"INSERT INTO Student\n"
     u"    VALUES ('20250001', '李明', 19);",
     2, 1},
    {u"设有选课表 SC（Sno 学号，Cno 课程号，Grade 成绩）。用 SQL 语句查询平均成绩不低于 80 "
     u"分的学生的学号和平均成绩，结果按平均成绩从高到低排列。",
     u"1. 用 GROUP BY 按学号分组，用 AVG 求平均成绩；\n"
     u"2. 用 HAVING 选出平均成绩不低于 80 分的组；\n"
     u"3. 用 ORDER BY … DESC 降序排列。",
     u"SELECT#AVG#GROUP BY#HAVING#ORDER BY#DESC",
     u"SELECT Sno, AVG(Grade)\n"
     u"FROM SC\n"
     u"GROUP BY Sno\n"
     u"HAVING AVG(Grade) >= 80\n"
     u"ORDER BY AVG(Grade) DESC;",
     3, 3},
};

}  // namespace

BankContents ProgrammingRows() {
    return {kSingle, kMultiple, kYesNo, kFill, kOperation};
}

}  // namespace qmtrain::host
