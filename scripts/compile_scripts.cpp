// Compiles scripts into the chunks that the library holds: compile_scripts FOLDER SCRIPT...
//
// Each chunk goes into FOLDER under the name of its script, which is the chunk's name as well, so that
// messages name what they would if the library held the text. chunk_format.cpp tells the compiler of
// the library what the chunks depend on.
#include <lua.hpp>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

[[noreturn]] void fail(const std::string& what)
{
   throw std::runtime_error(what);
}

std::string fileText(const std::string& path)
{
   std::ifstream file(path, std::ios::binary);
   std::string text(std::istreambuf_iterator<char>(file), {});
   if (!file) fail("cannot read " + path);
   return text;
}

void writeFile(const std::filesystem::path& path, const std::string& content)
{
   std::ofstream file(path, std::ios::binary);
   file << content;
   file.close();
   if (!file) fail("cannot write " + path.string());
}

int append(lua_State*, const void* piece, size_t size, void* chunk)
{
   static_cast<std::string*>(chunk)->append(static_cast<const char*>(piece), size);
   return 0;
}

std::string compile(lua_State* L, const std::string& text, const std::string& name)
{
   std::string chunk;
   if (luaL_loadbuffer(L, text.data(), text.size(), name.c_str()) != 0) fail(lua_tostring(L, -1));
   if (lua_dump(L, append, &chunk) != 0) fail("cannot dump " + name);
   lua_pop(L, 1);
   return chunk;
}

// A chunk begins with the sizes and the order of bytes that it was written for. lua_load compares them
// too, but then the library is with its users.
void writeFormatChecks(const std::filesystem::path& path, const std::string& chunk)
{
   const auto byte = [&](size_t index) { return int{static_cast<unsigned char>(chunk[index])}; };
   std::ostringstream out;
   out << "// Made by compile_scripts.\n"
          "#include <lua.hpp>\n"
          "#include <bit>\n"
          "#include <string_view>\n"
          "#include <type_traits>\n"
          "static_assert(std::string_view(LUA_RELEASE) == \"" LUA_RELEASE "\");\n"
       << "static_assert((std::endian::native == std::endian::little) == " << byte(6) << ");\n"
       << "static_assert(sizeof(int) == " << byte(7) << ");\n"
       << "static_assert(sizeof(size_t) == " << byte(8) << ");\n"
       << "static_assert(sizeof(LUAI_UINT32) == " << byte(9) << ");\n"
       << "static_assert(sizeof(lua_Number) == " << byte(10) << ");\n"
       << "static_assert(std::is_integral_v<lua_Number> == " << byte(11) << ");\n";
   writeFile(path, out.str());
}

void compileAll(const std::filesystem::path& folder, std::span<char*> scripts)
{
   const std::unique_ptr<lua_State, void (*)(lua_State*)> L(luaL_newstate(), lua_close);
   if (!L) fail("no memory");
   std::string chunk;
   for (const std::string path : scripts) {
      const std::string name = path.substr(path.find_last_of('/') + 1);
      chunk = compile(L.get(), fileText(path), name);
      writeFile(folder / name, chunk);
   }
   writeFormatChecks(folder / "chunk_format.cpp", chunk);
}

} // namespace

int main(int argc, char** argv)
{
   try {
      const std::span<char*> arguments(argv, static_cast<size_t>(argc));
      if (argc < 3) fail("usage: compile_scripts FOLDER SCRIPT...");
      compileAll(arguments[1], arguments.subspan(2));
   } catch (const std::exception& error) {
      std::fprintf(stderr, "compile_scripts: %s\n", error.what());
      return EXIT_FAILURE;
   }
   return EXIT_SUCCESS;
}
