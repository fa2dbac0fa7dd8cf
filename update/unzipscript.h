#pragma once

/**
 * Unpacks a ZIP archive (first argument) into a folder (second argument) with what every Windows has: the shell opens
 * the archive as a folder and copies its items. For the script host, which runs it as JScript.
 */
constexpr char unzipScript[] = "var shellapp =  new ActiveXObject(\"shell.application\");\n"
                               "var in_zip_path = WScript.Arguments(0);\n"
                               "var out_folder_path = WScript.Arguments(1);\n"
                               "var in_zip = shellapp.NameSpace(in_zip_path);\n"
                               "var out_folder = shellapp.NameSpace(out_folder_path);\n"
                               "out_folder.CopyHere(in_zip.Items(), 0);";
